#include "gui/platform/ProxyList.h"

namespace KovGui::Platform {

namespace {

constexpr std::size_t maxHostLength = 255;
constexpr unsigned maxPort = 65535;

std::string_view trimmed(std::string_view text)
{
    const std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool parsePort(std::string_view text, unsigned &port)
{
    if (text.empty() || text.size() > 5)
        return false;
    unsigned value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + unsigned(c - '0');
    }
    port = value;
    return value >= 1 && value <= maxPort;
}

bool isHost(std::string_view text)
{
    // Bytes above 127 are names that are not in ASCII form yet.
    constexpr std::string_view refused = " \t\"'<>()[]{}|\\^`@/?#%,;=&";
    if (text.empty() || text.size() > maxHostLength || text.find_first_of(refused) != std::string_view::npos)
        return false;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            return false;
    }
    return true;
}

} // namespace

bool parseProxyAddress(std::string_view text, ProxyAddress &result)
{
    text = trimmed(text);
    if (const std::size_t scheme = text.find("://"); scheme != std::string_view::npos)
        text.remove_prefix(scheme + 3);
    if (const std::size_t user = text.rfind('@'); user != std::string_view::npos)
        text.remove_prefix(user + 1);
    if (!text.empty() && text.back() == '/')
        text.remove_suffix(1);

    const bool isBracketed = !text.empty() && text.front() == '[';
    const std::size_t hostEnd = isBracketed ? text.find("]:") : text.find(':');
    if (hostEnd == std::string_view::npos)
        return false;
    const std::string_view host = isBracketed ? text.substr(1, hostEnd - 1) : text.substr(0, hostEnd);
    unsigned port = 0;
    if (!isHost(host) || !parsePort(text.substr(hostEnd + (isBracketed ? 2 : 1)), port))
        return false;
    result = {std::string(host), port, false};
    return true;
}

bool parseProxyList(std::string_view list, std::string_view scheme, ProxyAddress &result)
{
    while (!list.empty()) {
        const std::size_t end = list.find(';');
        std::string_view entry = trimmed(list.substr(0, end));
        list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
        if (entry.empty())
            continue;
        if (entry.find(':') == std::string_view::npos)
            return false;
        if (const std::size_t equals = entry.find('='); equals != std::string_view::npos) {
            if (trimmed(entry.substr(0, equals)) != scheme)
                continue;
            entry.remove_prefix(equals + 1);
        }
        return parseProxyAddress(entry, result);
    }
    return false;
}

} // namespace KovGui::Platform
