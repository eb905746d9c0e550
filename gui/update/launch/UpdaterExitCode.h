#pragma once

namespace Updater {

/// What the updater program exits with, shared by the program and the library that runs it. 0, 4 and 25 are
/// what every updater of the family answers; docs/reference/updater.md lists all.
enum class ExitCode {
    /// Also: the work is done.
    UpdateFound = 0,
    UsageError = 2,
    ConfigurationError = 3,
    NoUpdate = 4,
    /// There is no installation of this program that could be replaced.
    NoInstallation = 10,
    /// The package is missing, or it or its signature is altered, or signed by nobody known.
    PackageNotTrusted = 11,
    /// Properly signed, but expired, or not newer than what is installed, or not the one that was offered.
    PackageOutdated = 12,
    /// Properly signed, but not a package that may be unpacked.
    PackageBroken = 13,
    NotEnoughSpace = 14,
    /// The disk or the system refused; what was installed before is in place.
    InstallFailed = 15,
    /// Another installation is under way.
    InstallBusy = 16,
    /// There is no signature for the package: no check of this user has offered it, and none lies beside it.
    SignatureMissing = 17,
    /// There is no older version to go back to.
    NothingBefore = 18,
    BadCatalogue = 20,
    TooLarge = 21,
    HttpError = 22,
    TlsError = 23,
    RedirectRefused = 24,
    NoConnection = 25,
    ProxyError = 26,
    OutputError = 27,
    InternalError = 28,
    /// The catalogue, or the signature of the package that it offers, is missing, altered, or signed by
    /// nobody known.
    CatalogueNotTrusted = 29,
    /// Properly signed, but expired, or older than one that was seen before.
    CatalogueOutdated = 30
};

} // namespace Updater
