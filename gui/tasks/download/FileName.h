#pragma once

#include <string>
#include <string_view>

/// Names of files that come from an address: the one place that decides what may become a file, for the
/// library and for the download utility, so without Qt. Pure, without I/O.
namespace FileName {

/// Endings of the files that stand beside a download; a name with its ending fits into 255 bytes.
constexpr char partSuffix[] = ".kovupd-part";
constexpr char sidecarSuffix[] = ".kovupd-info";
constexpr char sidecarDraftSuffix[] = ".kovupd-temp";

/**
 * True for a name that stays inside its folder on every system.
 *
 * Valid UTF-8, 1 to 243 bytes; no "/", "\", ":" and control character, no blank or dot at the end (so neither
 * "." nor
 * ".."), no device name of Windows ("NUL", "com1.exe"), none of the endings above.
 */
bool isSafe(std::string_view name);

/// The last component of an encoded path, percent escapes decoded once, after the cut: an encoded slash stays
/// in the name and makes it unsafe. An empty text when there is no name or it is not safe.
std::string fromEncodedPath(std::string_view path);

} // namespace FileName
