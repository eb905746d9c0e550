#include "programs/download_utility/ResponseHead.h"

#include "programs/download_utility/Text.h"

#include <curl/curl.h>

#include <algorithm>

namespace {

const std::size_t longestValidator = 512;
// Within the same minute a file may change twice and keep its time.
const long long strongAge = 60;

bool isStrongTag(std::string_view tag)
{
    if (tag.size() < 2 || tag.size() > longestValidator || tag.front() != '"' || tag.back() != '"')
        return false;
    const std::string_view inner = tag.substr(1, tag.size() - 2);
    return std::none_of(inner.begin(), inner.end(), [](char c) {
        return static_cast<unsigned char>(c) <= 0x20 || c == '"' || c == 0x7f;
    });
}

bool isOther(const std::optional<std::uint64_t> &present, std::uint64_t value)
{
    return present && *present != value;
}

} // namespace

std::optional<ResponseHead::Range> ResponseHead::parseContentRange(std::string_view value)
{
    const std::size_t dash = value.find('-');
    const std::size_t slash = value.find('/');
    if (Text::lowerCase(value.substr(0, 6)) != "bytes " || dash == value.npos || slash == value.npos
        || dash > slash)
        return std::nullopt;
    const auto first = Text::toNumber(value.substr(6, dash - 6));
    const auto last = Text::toNumber(value.substr(dash + 1, slash - dash - 1));
    const std::string_view total = value.substr(slash + 1);
    if (!first || !last || *last < *first)
        return std::nullopt;
    Range range = {*first, *last, Text::toNumber(total)};
    const bool isTotalUsable = total == "*" || (range.total && *range.total > *last);
    return isTotalUsable ? std::optional(range) : std::nullopt;
}

void ResponseHead::addLine(std::string_view line)
{
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.remove_suffix(1);
    if (line.substr(0, 5) == "HTTP/") {
        *this = ResponseHead();
        const std::size_t blank = std::min(line.find(' '), line.size() - 1);
        status = static_cast<int>(Text::toNumber(line.substr(blank + 1, 3), 999).value_or(0));
        return;
    }
    const std::size_t colon = line.find(':');
    if (colon != line.npos)
        addField(Text::lowerCase(line.substr(0, colon)), Text::trimmed(line.substr(colon + 1)));
}

void ResponseHead::addField(const std::string &name, std::string_view value)
{
    if (name == "content-length") {
        const auto length = Text::toNumber(value);
        isMalformed = isMalformed || !length || isOther(contentLength, *length);
        contentLength = length;
    } else if (name == "content-range") {
        isMalformed = isMalformed || contentRange.has_value();
        contentRange = parseContentRange(value);
    } else if (name == "transfer-encoding") {
        isChunked = Text::lowerCase(value) == "chunked";
    } else if (name == "content-encoding") {
        isEncoded = !value.empty() && Text::lowerCase(value) != "identity";
    } else if (name == "content-type") {
        isMultipart = Text::lowerCase(value.substr(0, 10)) == "multipart/";
    } else if (name == "etag") {
        entityTag = entityTag.empty() && isStrongTag(value) ? std::string(value) : std::string();
    } else if (name == "location") {
        location = value;
    } else if (name == "date") {
        m_date = value;
        settleLastModified();
    } else if (name == "last-modified") {
        m_lastModified = value;
        settleLastModified();
    }
}

void ResponseHead::settleLastModified()
{
    lastModified.clear();
    if (m_date.empty() || m_lastModified.empty() || m_lastModified.size() > longestValidator
        || Text::printable(m_lastModified) != m_lastModified)
        return;
    const long long date = curl_getdate(m_date.c_str(), nullptr);
    const long long modified = curl_getdate(m_lastModified.c_str(), nullptr);
    if (date >= 0 && modified >= 0 && date - modified >= strongAge)
        lastModified = m_lastModified;
}
