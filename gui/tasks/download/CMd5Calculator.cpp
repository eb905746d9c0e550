#include "gui/tasks/download/CMd5Calculator.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <openssl/evp.h>

#include <array>
#include <atomic>
#include <vector>

namespace {

// Read, not mapped: reading a file that shrinks ends early, touching a mapping of it ends the process. A piece that
// stays in the processor's cache is also hashed faster than a window of a mapping.
const std::size_t pieceSize = 256 * 1024;

/// OpenSSL's, because QCryptographicHash of Qt 5 is slower than md5sum.
class Md5
{
public:
    Md5()
        : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
        , m_ok(m_context && EVP_DigestInit_ex(m_context.get(), EVP_md5(), nullptr) == 1)
    { }
    void add(const char *data, std::size_t size)
    {
        m_ok = m_ok && EVP_DigestUpdate(m_context.get(), data, size) == 1;
    }
    /// Empty when the library refuses MD5.
    QByteArray hex()
    {
        std::array<unsigned char, EVP_MAX_MD_SIZE> bytes;
        unsigned size = 0;
        if (!m_ok || EVP_DigestFinal_ex(m_context.get(), bytes.data(), &size) != 1)
            return QByteArray();
        return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(size)).toHex();
    }

private:
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
    bool m_ok;
};

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
    Md5 md5;
    for (qint64 done = 0;;) {
        if (d->isCancelled)
            return QByteArray();
        const qint64 length = file.read(piece.data(), qint64(piece.size()));
        if (length == 0)
            return done == size ? md5.hex() : QByteArray();
        done += length;
        if (length < 0 || done > size)
            return QByteArray();
        md5.add(piece.data(), std::size_t(length));
    }
}
