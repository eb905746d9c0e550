#include "programs/updater/trust/SigningKey.h"

#include "programs/updater/base/Files.h"

#include <QFile>
#include <cstring>
#include <sodium.h>

namespace {

constexpr char heading[] = "Tessarine-Signing-Key: 1\nSeed: ";
constexpr size_t headingSize = sizeof(heading) - 1;
constexpr size_t hexSize = crypto_sign_SEEDBYTES * 2;
/// With the line feed at the end.
constexpr size_t fileSize = headingSize + hexSize + 1;

/// Bytes that are wiped when they are no longer needed.
template <class Byte, size_t size>
struct Secret
{
    Secret() = default;
    ~Secret() { sodium_memzero(bytes, size); }
    Q_DISABLE_COPY(Secret)
    Byte bytes[size] = {};
};

bool readSeed(const char *file, size_t size, unsigned char *seed)
{
    if (size != fileSize || std::memcmp(file, heading, headingSize) != 0 || file[fileSize - 1] != '\n')
        return false;
    size_t length = 0;
    return sodium_hex2bin(seed, crypto_sign_SEEDBYTES, file + headingSize, hexSize, nullptr, &length, nullptr)
               == 0
           && length == crypto_sign_SEEDBYTES;
}

} // namespace

SigningKey::SigningKey()
{
    static_assert(sizeof(m_secret) == crypto_sign_SECRETKEYBYTES, "the size of libsodium's key");
    // A system that allows no locked memory signs as well.
    sodium_mlock(m_secret.data(), m_secret.size());
}

SigningKey::~SigningKey()
{
    sodium_munlock(m_secret.data(), m_secret.size());
}

void SigningKey::setSeed(const unsigned char *seed)
{
    unsigned char publicKey[crypto_sign_PUBLICKEYBYTES];
    crypto_sign_seed_keypair(publicKey, m_secret.data(), seed);
}

QString SigningKey::read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return file.errorString();
    // A pipe has no reader but us.
    const Files::Rights rights = Files::rightsAt(path);
    if (!file.isSequential() && (rights.anyOtherMayRead || rights.anyOtherMayWrite))
        return QStringLiteral("other users can read or write it; close it to them (chmod 600)");
    Secret<char, fileSize + 1> text;
    qint64 size = 0;
    for (qint64 count = 1; count > 0; size += qMax<qint64>(0, count))
        count = file.read(text.bytes + size, qint64(sizeof(text.bytes)) - size);
    Secret<unsigned char, crypto_sign_SEEDBYTES> seed;
    if (!readSeed(text.bytes, size_t(size), seed.bytes))
        return QStringLiteral("it holds no signing key");
    setSeed(seed.bytes);
    return QString();
}

QString SigningKey::create(const QString &path)
{
    if (sodium_init() < 0)
        return QStringLiteral("the system gives no random numbers");
    Secret<unsigned char, crypto_sign_SEEDBYTES> seed;
    randombytes_buf(seed.bytes, sizeof(seed.bytes));
    // One more for the null that libsodium puts behind the digits.
    Secret<char, fileSize + 1> text;
    std::memcpy(text.bytes, heading, headingSize);
    sodium_bin2hex(text.bytes + headingSize, hexSize + 1, seed.bytes, sizeof(seed.bytes));
    text.bytes[fileSize - 1] = '\n';
    const QString fault = Files::createPrivate(path, text.bytes, qint64(fileSize));
    if (fault.isEmpty())
        setSeed(seed.bytes);
    return fault;
}

QByteArray SigningKey::publicKey() const
{
    const auto *bytes = reinterpret_cast<const char *>(m_secret.data());
    return QByteArray(bytes + crypto_sign_SEEDBYTES, crypto_sign_PUBLICKEYBYTES);
}

QByteArray SigningKey::sign(const QByteArray &message) const
{
    QByteArray signature(crypto_sign_BYTES, '\0');
    crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr,
                         reinterpret_cast<const unsigned char *>(message.constData()),
                         static_cast<unsigned long long>(message.size()), m_secret.data());
    return signature;
}
