#include "gui/platform/Digest.h"

#include "gui/platform/DigestText.h"

#include <algorithm>
#include <limits>

#include <windows.h>

#include <bcrypt.h>

namespace KovGui::Platform {

class Digest::Private
{
public:
    explicit Private(LPCWSTR kind)
    {
        if (!BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(&algorithm, kind, nullptr, 0)))
            algorithm = nullptr;
    }
    ~Private()
    {
        end();
        if (algorithm)
            BCryptCloseAlgorithmProvider(algorithm, 0);
    }
    void end()
    {
        if (hash)
            BCryptDestroyHash(hash);
        hash = nullptr;
    }

    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    bool isGood = false;
};

Digest::Digest(Kind kind)
    : d(new Private(kind == Kind::Md5 ? BCRYPT_MD5_ALGORITHM : BCRYPT_SHA256_ALGORITHM))
{
    restart();
}

Digest::~Digest() = default;

bool Digest::isOffered() const
{
    return d->isGood;
}

void Digest::restart()
{
    d->end();
    d->isGood
        = d->algorithm && BCRYPT_SUCCESS(BCryptCreateHash(d->algorithm, &d->hash, nullptr, 0, nullptr, 0, 0));
}

void Digest::add(const char *data, std::size_t size)
{
    while (d->isGood && size > 0) {
        const auto piece = ULONG(std::min<std::size_t>(size, std::numeric_limits<LONG>::max()));
        auto *const bytes = reinterpret_cast<PUCHAR>(const_cast<char *>(data)); // only read
        d->isGood = BCRYPT_SUCCESS(BCryptHashData(d->hash, bytes, piece, 0));
        data += piece;
        size -= piece;
    }
}

std::string Digest::finish()
{
    unsigned char bytes[64];
    DWORD size = 0;
    ULONG written = 0;
    const bool isGood
        = d->isGood
          && BCRYPT_SUCCESS(BCryptGetProperty(d->hash, BCRYPT_HASH_LENGTH, reinterpret_cast<PUCHAR>(&size),
                                              sizeof size, &written, 0))
          && size <= sizeof bytes && BCRYPT_SUCCESS(BCryptFinishHash(d->hash, bytes, size, 0));
    restart();
    return isGood ? hexadecimal(bytes, size) : std::string();
}

} // namespace KovGui::Platform
