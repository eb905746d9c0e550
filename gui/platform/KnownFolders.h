#pragma once

/**
 * Folders by the operating system's conventions, as UTF-8 text that lives as long as the process.
 *
 * Each is found once and cached; any thread may ask. The empty text means that there is none; it is never
 * cached, so a later call looks again. At most 1,023 bytes.
 */
namespace KovGui::Platform {

/**
 * The user's local application data.
 *
 * Windows: CSIDL_LOCAL_APPDATA, without a separator at its end. Unix: $XDG_DATA_HOME if that is an absolute
 * path, else $HOME/.local/share; created for this user alone when missing. A process with raised privileges
 * does not believe its environment and has none.
 */
const char *localDataFolder() noexcept;

/**
 * Where the whole system keeps its logs; created when missing, if this process may.
 *
 * Windows: "\Logs\" in the Windows directory. The call that creates the folder returns the empty text, unless
 * the thread's last error happens to be 183 (already exists); the call after it returns the folder. Unix:
 * "/var/log/tessarine/", created so that every user can add files but remove only his own.
 */
const char *systemLogsFolder() noexcept;

} // namespace KovGui::Platform
