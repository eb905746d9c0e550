#pragma once

#include "gui/platform/Report.h"

#include <array>

namespace KovGui::Platform {

using SecretKey = std::array<unsigned char, 32>;

/**
 * The key under which this user's stored passwords are sealed; made, at random, the first time. The same in
 * all programs of the family. The caller wipes it.
 *
 * Unix: kept in the desktop's key store, or, where none answers within three seconds, in the file
 * "tessarine/passwords.key" in the user's data folder, readable by this user alone. A file that exists is
 * used whether or not a key store runs. To be called on the GUI thread: while the key store is asked, an
 * event loop runs that takes no user input. Windows: the same file, encrypted by the user's data protection;
 * any thread.
 *
 * @return false, reported, when there is no key and none can be kept, or when the file cannot be trusted: it
 * belongs to somebody else, others may read or write it, it is a symbolic link or has another size
 */
bool secretKey(SecretKey &key, Report report);

} // namespace KovGui::Platform
