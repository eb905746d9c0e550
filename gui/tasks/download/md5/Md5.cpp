#include "gui/tasks/download/md5/Md5_p.h"

#include <openssl/evp.h>

#include <array>

namespace {

/// OpenSSL's, because QCryptographicHash of Qt 5 is slower than md5sum.
class OpenSslMd5 final : public Md5
{
public:
    OpenSslMd5()
        : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
        , m_ok(m_context && EVP_DigestInit_ex(m_context.get(), EVP_md5(), nullptr) == 1)
    { }
    void add(const char *data, std::size_t size) override
    {
        m_ok = m_ok && EVP_DigestUpdate(m_context.get(), data, size) == 1;
    }
    QByteArray hex() override
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

extern "C" Q_DECL_EXPORT const void *kovguiFunctions()
{
    static const Md5Functions functions{
        []() -> std::unique_ptr<Md5> { return std::make_unique<OpenSslMd5>(); }};
    return &functions;
}
