#pragma once

/// What the download utility and the library agree on. Without Qt: the utility has none.
namespace DownloadUtility {

/**
 * What the process ends with. 25 and 31 tell the caller that another try later is worth while; every other
 * failure stays until somebody changes something. docs/reference/download-utility.md explains each to a user.
 */
enum class ExitCode {
    Success = 0,
    InternalError = 1,
    BadUsage = 2,
    AddressRefused = 10,
    FileNameRefused = 11,
    FolderUnusable = 12,
    FileExists = 13,
    ForeignFile = 14,
    AlreadyRunning = 15,
    DiskFull = 16,
    FileError = 17,
    ProxyRefused = 20,
    LoginRequired = 21,
    AccessDenied = 22,
    NotFound = 23,
    ServerError = 24,
    NoConnection = 25,
    NotTrusted = 26,
    RedirectRefused = 27,
    BadResponse = 28,
    KeepsChanging = 29,
    DigestMismatch = 30,
    Interrupted = 31,
    Stopped = 32,
    PasswordMissing = 33,
};

/// Whether waiting may cure it.
constexpr bool isWorthAnotherTry(ExitCode code)
{
    return code == ExitCode::NoConnection || code == ExitCode::Interrupted;
}

} // namespace DownloadUtility
