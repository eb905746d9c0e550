// Its Winsock has to come before windows.h.
#include <winsock2.h>
#include <ws2tcpip.h>

#include "gui/platform/ServerAddress.h"

#include <memory>

#include <windows.h>

#define SECURITY_WIN32
#include <schannel.h>
#include <security.h>

namespace KovGui::Platform {

namespace {

/// The bytes of an address in numbers, 4 or 16; none for a name.
std::string bytesOf(std::string host)
{
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    for (const int family : {AF_INET, AF_INET6}) {
        std::string bytes(family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr), '\0');
        if (inet_pton(family, host.c_str(), bytes.data()) == 1)
            return bytes;
    }
    return std::string();
}

struct Freed
{
    void operator()(const CERT_CONTEXT *certificate) const { CertFreeCertificateContext(certificate); }
    void operator()(void *memory) const { LocalFree(memory); }
};

std::unique_ptr<const CERT_CONTEXT, Freed> certificateOf(CURL *connection)
{
    const curl_tlssessioninfo *session = nullptr;
    PCCERT_CONTEXT certificate = nullptr;
    if (curl_easy_getinfo(connection, CURLINFO_TLS_SSL_PTR, &session) == CURLE_OK && session
        && session->backend == CURLSSLBACKEND_SCHANNEL && session->internals)
        QueryContextAttributesW(static_cast<PCtxtHandle>(session->internals), SECPKG_ATTR_REMOTE_CERT_CONTEXT,
                                &certificate);
    return std::unique_ptr<const CERT_CONTEXT, Freed>(certificate);
}

} // namespace

bool hasToCompareAddress(const std::string &host)
{
    return !bytesOf(host).empty();
}

bool isCertificateFor(const std::string &address, CURL *connection)
{
    const std::string wanted = bytesOf(address);
    const auto certificate = certificateOf(connection);
    const CERT_EXTENSION *const extension
        = certificate ? CertFindExtension(szOID_SUBJECT_ALT_NAME2, certificate->pCertInfo->cExtension,
                                          certificate->pCertInfo->rgExtension)
                      : nullptr;
    CERT_ALT_NAME_INFO *decoded = nullptr;
    DWORD size = 0;
    if (wanted.empty() || !extension
        || !CryptDecodeObjectEx(X509_ASN_ENCODING, X509_ALTERNATE_NAME, extension->Value.pbData,
                                extension->Value.cbData, CRYPT_DECODE_ALLOC_FLAG, nullptr, &decoded, &size))
        return false;
    const std::unique_ptr<CERT_ALT_NAME_INFO, Freed> names(decoded);
    for (DWORD i = 0; i < names->cAltEntry; ++i) {
        const CERT_ALT_NAME_ENTRY &name = names->rgAltEntry[i];
        if (name.dwAltNameChoice == CERT_ALT_NAME_IP_ADDRESS
            && wanted
                   == std::string(reinterpret_cast<const char *>(name.IPAddress.pbData),
                                  name.IPAddress.cbData))
            return true;
    }
    return false;
}

} // namespace KovGui::Platform
