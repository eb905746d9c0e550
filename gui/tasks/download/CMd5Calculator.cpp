#include "gui/tasks/download/CMd5Calculator.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/platform/Module.h"
#include "gui/tasks/download/md5/Md5_p.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <vector>

namespace {

// Read, not mapped: reading a file that shrinks ends early, touching a mapping of it ends the process. A
// piece that stays in the processor's cache is also hashed faster than a window of a mapping.
const std::size_t pieceSize = 256 * 1024;

void report(unsigned level, const char *text)
{
    KOV_LOG(int(level), "%s", KovGui::logText(QByteArray(text)).constData());
}

const Md5Functions *md5Functions()
{
    static const auto *const functions
        = static_cast<const Md5Functions *>(KovGui::Platform::moduleFunctions("md5", report));
    return functions;
}

} // namespace

class CMd5Calculator::Private
{
public:
    const QString filePath;
    std::atomic<bool> isCancelled{false};
};

CMd5Calculator::CMd5Calculator(const QString &filePath, QObject *parent)
    : QThread(parent)
    , d(new Private{filePath})
{
    connect(this, &QThread::finished, this, &QObject::deleteLater);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
        cancel();
        wait();
    });
}

CMd5Calculator::~CMd5Calculator()
{
    cancel();
    wait();
}

void CMd5Calculator::cancel()
{
    d->isCancelled = true;
}

bool CMd5Calculator::isCancelled() const
{
    return d->isCancelled;
}

void CMd5Calculator::run()
{
    const QByteArray hex = digest();
    if (hex.isEmpty() && !d->isCancelled)
        KOV_LOG(0, "(!)Error: no digest of %s.", KovGui::logText(d->filePath).constData());
    Q_EMIT finished(!hex.isEmpty(), QString::fromLatin1(hex));
}

QByteArray CMd5Calculator::digest() const
{
    QFile file(d->filePath);
    // Opening a pipe would wait for its writer.
    if (!QFileInfo(d->filePath).isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return QByteArray();
    const qint64 size = file.size();
    std::vector<char> piece(pieceSize);
    const Md5Functions *const functions = md5Functions();
    if (!functions)
        return QByteArray();
    const std::unique_ptr<Md5> md5 = functions->make();
    for (qint64 done = 0;;) {
        if (d->isCancelled)
            return QByteArray();
        const qint64 length = file.read(piece.data(), qint64(piece.size()));
        if (length == 0)
            return done == size ? md5->hex() : QByteArray();
        done += length;
        if (length < 0 || done > size)
            return QByteArray();
        md5->add(piece.data(), std::size_t(length));
    }
}
