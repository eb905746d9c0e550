#pragma once

#include <curl/curl.h>
#include <string>

/**
 * What libcurl leaves open about a server whose address is in numbers. Needs no Qt.
 */
namespace KovGui::Platform {

/// Whether libcurl refuses every certificate of such a server, because it compares names only, once a request
/// has certificate authorities of its own. Then CURLOPT_SSL_VERIFYHOST has to be 0, and the connection has to
/// be asked about by isCertificateFor() before anything is sent.
/// @param host  of the URL; an IPv6 address with or without brackets
bool hasToCompareAddress(const std::string &host);

/// Whether the certificate that the server has shown names the address (RFC 5280, 4.2.1.6: iPAddress).
/// @param connection  within CURLOPT_PREREQFUNCTION, by when libcurl has checked who vouches for it
bool isCertificateFor(const std::string &address, CURL *connection);

} // namespace KovGui::Platform
