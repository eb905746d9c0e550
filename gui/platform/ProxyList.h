#pragma once

#include <string>
#include <string_view>

/// Reading the texts in which operating systems name proxies. Pure functions without Qt: foreign text of any
/// length goes in, nothing is believed.
namespace KovGui::Platform {

struct ProxyAddress
{
    std::string host; ///< without the brackets of an IPv6 address
    unsigned port = 0; ///< 1 to 65535
    bool isSocks = false; ///< SOCKS 5 instead of HTTP
};

/**
 * Reads "host:port". A scheme in front ("http://"), user information and one slash at the end are dropped; an
 * IPv6 address stands in brackets.
 *
 * @return false, with the result untouched, for anything else: no host, no port, a port out of range, a host
 * with characters that no host name has
 */
bool parseProxyAddress(std::string_view text, ProxyAddress &result);

/**
 * Finds the proxy for a scheme in a list such as "http=a:80;https=b:443" or "c:8080". Entries are separated
 * by semicolons; empty ones and blanks around them do not count. The first entry wins that is meant for the
 * scheme ("scheme=host:port", compared exactly) or for all ("host:port").
 *
 * @return false when no entry is for the scheme; also, without looking further, at an entry that has no colon
 * or, being for the scheme, is no address
 */
bool parseProxyList(std::string_view list, std::string_view scheme, ProxyAddress &result);

} // namespace KovGui::Platform
