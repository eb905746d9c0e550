#include "gui/platform/SecretKey.h"

#include "gui/platform/KnownFolders.h"
#include "gui/platform/unix/Descriptor.h"

#include <QByteArray>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <qt5keychain/keychain.h>
#include <string>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KovGui::Platform {

namespace {

constexpr int KeyStoreLimitMilliseconds = 3000;

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

/// Runs a job of the key store. False when it did not end in time; it then goes on, and deletes itself.
bool run(QKeychain::Job *job)
{
    QEventLoop loop;
    bool isFinished = false;
    QObject::connect(job, &QKeychain::Job::finished, &loop, [&](QKeychain::Job *) {
        isFinished = true;
        loop.quit();
    });
    QTimer::singleShot(KeyStoreLimitMilliseconds, &loop, &QEventLoop::quit);
    job->setAutoDelete(true);
    job->start();
    if (!isFinished)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    return isFinished;
}

template <typename Job>
Job *keyStoreJob()
{
    auto *job = new Job(QStringLiteral("Tessarine"));
    job->setKey(QStringLiteral("passwords"));
    // Never the clear text in a settings file that the key store would fall back to.
    job->setInsecureFallback(false);
    return job;
}

bool keepInKeyStore(const SecretKey &key)
{
    auto *job = keyStoreJob<QKeychain::WritePasswordJob>();
    QByteArray data(reinterpret_cast<const char *>(key.data()), int(key.size()));
    job->setBinaryData(data);
    wipe(data.data(), std::size_t(data.size()));
    bool isKept = false;
    QObject::connect(job, &QKeychain::Job::finished, job,
                     [&isKept](QKeychain::Job *ended) { isKept = ended->error() == QKeychain::NoError; });
    const QPointer<QObject> guard(job);
    const bool isFinished = run(job);
    if (!isFinished && guard)
        guard->disconnect();
    return isFinished && isKept;
}

enum class StoreState { Read, Missing, Unavailable };

StoreState readKeyStore(SecretKey &key)
{
    auto *job = keyStoreJob<QKeychain::ReadPasswordJob>();
    StoreState state = StoreState::Unavailable;
    QObject::connect(job, &QKeychain::Job::finished, job, [job, &key, &state](QKeychain::Job *ended) {
        const QByteArray data = job->binaryData();
        if (ended->error() == QKeychain::EntryNotFound)
            state = StoreState::Missing;
        if (ended->error() != QKeychain::NoError || data.size() != int(key.size()))
            return;
        std::memcpy(key.data(), data.constData(), key.size());
        state = StoreState::Read;
    });
    const QPointer<QObject> guard(job);
    if (run(job))
        return state;
    if (guard)
        guard->disconnect();
    return StoreState::Unavailable;
}

bool keyFromStore(SecretKey &key)
{
    switch (readKeyStore(key)) {
    case StoreState::Read:
        return true;
    case StoreState::Unavailable:
        return false;
    case StoreState::Missing:
        break;
    }
    return makeKey(key) && keepInKeyStore(key) && readKeyStore(key) == StoreState::Read;
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
    if (keyFromStore(key))
        return true;
    report(2, "No key store answers; the key for stored passwords is kept in a private file.");
    if (!folder.empty() && createKeyFile(path, key))
        return true;
    report(0, ("(!)Error: the key file cannot be made: " + path).c_str());
    wipe(key.data(), key.size());
    return false;
}

} // namespace KovGui::Platform
