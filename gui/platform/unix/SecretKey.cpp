#include "gui/platform/SecretKey.h"

#include "gui/platform/KnownFolders.h"
#include "gui/platform/Module.h"
#include "gui/platform/unix/Descriptor.h"
#include "gui/platform/unix/KeyStore.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KovGui::Platform {

namespace {

void wipe(void *memory, std::size_t size)
{
    explicit_bzero(memory, size);
}

bool makeKey(SecretKey &key)
{
    return getentropy(key.data(), key.size()) == 0;
}

std::string keyFolder()
{
    const std::string folder = localDataFolder();
    return folder.empty() ? folder : folder + "/tessarine";
}

enum class FileState { Read, Missing, Refused };

FileState readKeyFile(const std::string &path, SecretKey &key)
{
    // Non-blocking, so that a planted pipe cannot hold us.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen())
        return errno == ENOENT ? FileState::Missing : FileState::Refused;
    struct stat status;
    if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid()
        || (status.st_mode & 077) != 0 || status.st_size != off_t(key.size()))
        return FileState::Refused;
    return read(file.number(), key.data(), key.size()) == ssize_t(key.size()) ? FileState::Read
                                                                              : FileState::Refused;
}

bool writeWhole(const std::string &path, const SecretKey &key)
{
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file.isOpen() && writeAll(file.number(), reinterpret_cast<const char *>(key.data()), key.size())
           && fsync(file.number()) == 0;
}

/// Two programs that start at once agree on the file of whoever came first.
bool createKeyFile(const std::string &path, SecretKey &key)
{
    mkdir(keyFolder().c_str(), 0700);
    const std::string draft = path + '.' + std::to_string(getpid());
    unlink(draft.c_str());
    const bool isKept = makeKey(key) && writeWhole(draft, key)
                        && (link(draft.c_str(), path.c_str()) == 0 || errno == EEXIST);
    unlink(draft.c_str());
    return isKept && readKeyFile(path, key) == FileState::Read;
}

bool keyFromStore(SecretKey &key, Report report)
{
    static const auto *const store
        = static_cast<const KeyStoreFunctions *>(moduleFunctions("keystore", report));
    if (!store)
        return false;
    switch (store->read(key)) {
    case KeyStoreState::Read:
        return true;
    case KeyStoreState::Unavailable:
        return false;
    case KeyStoreState::Missing:
        break;
    }
    return makeKey(key) && store->keep(key) && store->read(key) == KeyStoreState::Read;
}

} // namespace

bool secretKey(SecretKey &key, Report report)
{
    const std::string folder = keyFolder();
    const std::string path = folder + "/passwords.key";
    // Asked first: what was sealed without a key store must stay readable when one runs.
    const FileState state = folder.empty() ? FileState::Missing : readKeyFile(path, key);
    if (state == FileState::Read)
        return true;
    if (state == FileState::Refused) {
        report(0, ("(!)Error: the key file is not a private file of this user: " + path).c_str());
        return false;
    }
    if (keyFromStore(key, report))
        return true;
    report(2, "No key store answers; the key for stored passwords is kept in a private file.");
    if (!folder.empty() && createKeyFile(path, key))
        return true;
    report(0, ("(!)Error: the key file cannot be made: " + path).c_str());
    wipe(key.data(), key.size());
    return false;
}

} // namespace KovGui::Platform
