#pragma once

/// What the program exits with. 0, 4 and 25 are fixed by those who call it; docs/reference/updater.md lists
/// all.
enum class ExitCode {
    UpdateFound = 0,
    UsageError = 2,
    ConfigurationError = 3,
    NoUpdate = 4,
    InstallNotSupported = 10,
    BadCatalogue = 20,
    TooLarge = 21,
    HttpError = 22,
    TlsError = 23,
    RedirectRefused = 24,
    NoConnection = 25,
    ProxyError = 26,
    OutputError = 27,
    InternalError = 28
};
