#include "gui/tasks/sign_in/Sealing_p.h"

#include "gui/platform/SecretKey.h"

#include <sodium.h>

namespace {

constexpr int nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr int tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;

static_assert(std::tuple_size<KovGui::Platform::SecretKey>::value
                  == crypto_aead_xchacha20poly1305_ietf_KEYBYTES,
              "the key fits the cipher");

unsigned char *bytes(QByteArray &array, int offset = 0)
{
    return reinterpret_cast<unsigned char *>(array.data()) + offset;
}

const unsigned char *bytes(const QByteArray &array, int offset = 0)
{
    return reinterpret_cast<const unsigned char *>(array.constData()) + offset;
}

unsigned long long sizeOf(const QByteArray &array)
{
    return static_cast<unsigned long long>(array.size());
}

QByteArray seal(const unsigned char *key, QByteArray plain, const QByteArray &place)
{
    QByteArray sealed(nonceSize + plain.size() + tagSize, Qt::Uninitialized);
    randombytes_buf(sealed.data(), nonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(bytes(sealed, nonceSize), nullptr, bytes(plain), sizeOf(plain),
                                               bytes(place), sizeOf(place), nullptr, bytes(sealed), key);
    sodium_memzero(plain.data(), std::size_t(plain.size()));
    return sealed;
}

bool open(const unsigned char *key, const QByteArray &sealed, const QByteArray &place, QString &plain)
{
    if (sealed.size() < nonceSize + tagSize)
        return false;
    QByteArray text(sealed.size() - nonceSize - tagSize, Qt::Uninitialized);
    const bool isOurs = crypto_aead_xchacha20poly1305_ietf_decrypt(
                            bytes(text), nullptr, nullptr, bytes(sealed, nonceSize),
                            sizeOf(sealed) - nonceSize, bytes(place), sizeOf(place), bytes(sealed), key)
                        == 0;
    if (isOurs)
        plain = QString::fromUtf8(text);
    sodium_memzero(text.data(), std::size_t(text.size()));
    return isOurs;
}

} // namespace

extern "C" Q_DECL_EXPORT const void *kovguiFunctions()
{
    static const SealingFunctions functions{seal, open};
    return sodium_init() >= 0 ? &functions : nullptr;
}
