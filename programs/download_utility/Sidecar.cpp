#include "programs/download_utility/Sidecar.h"

#include "programs/download_utility/Text.h"

#include <map>
#include <string_view>

namespace {

constexpr char formatLine[] = "kovupd-part 1";

bool isPlain(std::string_view value)
{
    return Text::printable(value) == value;
}

} // namespace

std::optional<Sidecar> Sidecar::parse(const std::string &text)
{
    if (text.size() > longestText)
        return std::nullopt;
    std::map<std::string, std::string, std::less<>> values;
    std::string_view rest(text);
    bool isFirst = true;
    bool hasEnd = false;
    while (!rest.empty()) {
        const std::size_t length = rest.find('\n');
        if (length == std::string_view::npos || hasEnd)
            return std::nullopt;
        const std::string_view line = rest.substr(0, length);
        rest.remove_prefix(length + 1);
        if (isFirst && line != formatLine)
            return std::nullopt;
        hasEnd = line == "end";
        const std::size_t blank = line.find(' ');
        if (!isFirst && !hasEnd) {
            if (blank == std::string_view::npos || !isPlain(line.substr(blank + 1)))
                return std::nullopt;
            if (!values.emplace(line.substr(0, blank), line.substr(blank + 1)).second)
                return std::nullopt;
        }
        isFirst = false;
    }
    const auto synced = Text::toNumber(values["synced"]);
    if (!hasEnd || !synced || values["url-sha256"].empty())
        return std::nullopt;

    Sidecar sidecar;
    sidecar.urlDigest = values["url-sha256"];
    sidecar.maskedUrl = values["url"];
    sidecar.size = Text::toNumber(values["size"]);
    sidecar.entityTag = values["etag"];
    sidecar.lastModified = values["last-modified"];
    sidecar.md5 = values["md5"];
    sidecar.sha256 = values["sha256"];
    sidecar.boot = values["boot"];
    sidecar.synced = *synced;
    sidecar.trustsRanges = values["ranges"] == "trusted";
    return sidecar;
}

std::string Sidecar::toText() const
{
    std::string text = std::string(formatLine) + "\n";
    const auto add = [&text](const char *key, const std::string &value) {
        if (!value.empty())
            text += std::string(key) + " " + value + "\n";
    };
    add("url-sha256", urlDigest);
    add("url", maskedUrl);
    add("size", size ? std::to_string(*size) : std::string());
    add("etag", entityTag);
    add("last-modified", lastModified);
    add("md5", md5);
    add("sha256", sha256);
    add("boot", boot);
    add("synced", std::to_string(synced));
    add("ranges", trustsRanges ? "trusted" : "wrong");
    return text + "end\n";
}
