#include "gui/tasks/sign_in/PasswordStore.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/platform/SecretKey.h"

#include <sodium.h>

using KovGui::logText;
using KovGui::Platform::SecretKey;

namespace {

constexpr char Version[] = "v1:";
constexpr int VersionSize = int(sizeof Version) - 1;
constexpr int NonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr int TagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
/// Nothing that was sealed here is larger.
constexpr int MaxSealedSize = 64 * 1024;

static_assert(std::tuple_size<SecretKey>::value == crypto_aead_xchacha20poly1305_ietf_KEYBYTES,
              "the key fits the cipher");

void report(unsigned level, const char *text)
{
    KOV_LOG(int(level), "%s", logText(QByteArray(text)).constData());
}

/// Null when there is none; then the next call looks again.
const unsigned char *theKey()
{
    static SecretKey key;
    static bool isKnown = false;
    if (!isKnown)
        isKnown = sodium_init() >= 0 && KovGui::Platform::secretKey(key, report);
    return isKnown ? key.data() : nullptr;
}

unsigned char *bytes(QByteArray &array, int offset = 0)
{
    return reinterpret_cast<unsigned char *>(array.data()) + offset;
}

const unsigned char *bytes(const QByteArray &array, int offset = 0)
{
    return reinterpret_cast<const unsigned char *>(array.constData()) + offset;
}

} // namespace

namespace PasswordStore {

QString seal(const QString &password, const QString &place)
{
    const unsigned char *key = theKey();
    if (!key)
        return QString();
    QByteArray plain = password.toUtf8();
    const QByteArray bound = place.toUtf8();
    QByteArray sealed(NonceSize + plain.size() + TagSize, Qt::Uninitialized);
    randombytes_buf(sealed.data(), NonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(
        bytes(sealed, NonceSize), nullptr, bytes(plain), static_cast<unsigned long long>(plain.size()),
        bytes(bound), static_cast<unsigned long long>(bound.size()), nullptr, bytes(sealed), key);
    sodium_memzero(plain.data(), std::size_t(plain.size()));
    return QLatin1String(Version) + QString::fromLatin1(sealed.toBase64());
}

std::optional<QString> open(const QString &sealed, const QString &place)
{
    const QByteArray text = sealed.size() <= MaxSealedSize ? sealed.toLatin1() : QByteArray();
    const auto decoded
        = QByteArray::fromBase64Encoding(text.mid(VersionSize), QByteArray::AbortOnBase64DecodingErrors);
    const QByteArray &box = decoded.decoded;
    const unsigned char *key = theKey();
    if (!key)
        return std::nullopt;
    const QByteArray bound = place.toUtf8();
    QByteArray plain(qMax(0, box.size() - NonceSize - TagSize), Qt::Uninitialized);
    if (!text.startsWith(Version) || !decoded || box.size() < NonceSize + TagSize
        || crypto_aead_xchacha20poly1305_ietf_decrypt(
               bytes(plain), nullptr, nullptr, bytes(box, NonceSize),
               static_cast<unsigned long long>(box.size() - NonceSize), bytes(bound),
               static_cast<unsigned long long>(bound.size()), bytes(box), key)
               != 0) {
        KOV_LOG(0, "(!)Error: the stored password of \"%s\" was not sealed by this user or was changed.",
                logText(place).constData());
        return std::nullopt;
    }
    const QString password = QString::fromUtf8(plain);
    sodium_memzero(plain.data(), std::size_t(plain.size()));
    return password;
}

} // namespace PasswordStore
