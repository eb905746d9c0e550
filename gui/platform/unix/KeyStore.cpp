#include "gui/platform/unix/KeyStore.h"

#include <QByteArray>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>
#include <cstring>
#include <qt5keychain/keychain.h>

namespace KovGui::Platform {

namespace {

constexpr int keyStoreLimitMilliseconds = 3000;

/// Runs a job of the key store. False when it did not end in time; it then goes on, and deletes itself.
bool run(QKeychain::Job *job)
{
    QEventLoop loop;
    bool isFinished = false;
    QObject::connect(job, &QKeychain::Job::finished, &loop, [&](QKeychain::Job *) {
        isFinished = true;
        loop.quit();
    });
    QTimer::singleShot(keyStoreLimitMilliseconds, &loop, &QEventLoop::quit);
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
    explicit_bzero(data.data(), std::size_t(data.size()));
    bool isKept = false;
    QObject::connect(job, &QKeychain::Job::finished, job,
                     [&isKept](QKeychain::Job *ended) { isKept = ended->error() == QKeychain::NoError; });
    const QPointer<QObject> guard(job);
    const bool isFinished = run(job);
    if (!isFinished && guard)
        guard->disconnect();
    return isFinished && isKept;
}

KeyStoreState readKeyStore(SecretKey &key)
{
    auto *job = keyStoreJob<QKeychain::ReadPasswordJob>();
    KeyStoreState state = KeyStoreState::Unavailable;
    QObject::connect(job, &QKeychain::Job::finished, job, [job, &key, &state](QKeychain::Job *ended) {
        const QByteArray data = job->binaryData();
        if (ended->error() == QKeychain::EntryNotFound)
            state = KeyStoreState::Missing;
        if (ended->error() != QKeychain::NoError || data.size() != int(key.size()))
            return;
        std::memcpy(key.data(), data.constData(), key.size());
        state = KeyStoreState::Read;
    });
    const QPointer<QObject> guard(job);
    if (run(job))
        return state;
    if (guard)
        guard->disconnect();
    return KeyStoreState::Unavailable;
}

} // namespace

} // namespace KovGui::Platform

extern "C" Q_DECL_EXPORT const void *kovguiFunctions()
{
    using namespace KovGui::Platform;
    static const KeyStoreFunctions functions{readKeyStore, keepInKeyStore};
    return &functions;
}
