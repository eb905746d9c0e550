#include "gui/platform/Digest.h"

#include "gui/platform/DigestText.h"

#include <openssl/evp.h>

namespace KovGui::Platform {

class Digest::Private
{
public:
    explicit Private(const EVP_MD *kind)
        : kind(kind)
    { }

    const EVP_MD *const kind;
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), EVP_MD_CTX_free};
    bool isGood = false;
};

Digest::Digest(Kind kind)
    : d(new Private(kind == Kind::Md5 ? EVP_md5() : EVP_sha256()))
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
    d->isGood = d->context && EVP_DigestInit_ex(d->context.get(), d->kind, nullptr) == 1;
}

void Digest::add(const char *data, std::size_t size)
{
    d->isGood = d->isGood && EVP_DigestUpdate(d->context.get(), data, size) == 1;
}

std::string Digest::finish()
{
    unsigned char bytes[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    const bool isGood = d->isGood && EVP_DigestFinal_ex(d->context.get(), bytes, &size) == 1;
    restart();
    return isGood ? hexadecimal(bytes, size) : std::string();
}

} // namespace KovGui::Platform
