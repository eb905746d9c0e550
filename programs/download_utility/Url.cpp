#include "programs/download_utility/Url.h"

#include "programs/download_utility/Text.h"

#include <curl/curl.h>

#include <memory>

namespace {

using Handle = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

std::string part(CURLU *handle, CURLUPart which, unsigned flags = 0)
{
    char *text = nullptr;
    if (curl_url_get(handle, which, &text, flags) != CURLUE_OK)
        return std::string();
    std::string copy(text);
    curl_free(text);
    return copy;
}

/// With one slash or three some read "user:password@host" as a path, and show it, where others log in with
/// it.
bool hasPlainSlashes(const std::string &text)
{
    const std::size_t scheme
        = text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+.-");
    if (scheme == 0 || scheme == text.npos || text[scheme] != ':')
        return true;
    return text.compare(scheme, 3, "://") == 0 && text.compare(scheme, 4, ":///") != 0;
}

} // namespace

std::optional<Url> Url::parse(const std::string &text, const Url *base)
{
    const Handle handle(curl_url(), &curl_url_cleanup);
    if (base && (!handle || curl_url_set(handle.get(), CURLUPART_URL, base->text.c_str(), 0) != CURLUE_OK))
        return std::nullopt;
    if (!hasPlainSlashes(text))
        return std::nullopt;
    // Guessing a scheme or accepting any other would let a local file or a mail server be "downloaded".
    if (!handle || curl_url_set(handle.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE) != CURLUE_OK)
        return std::nullopt;
    Url url;
    url.scheme = Text::lowerCase(part(handle.get(), CURLUPART_SCHEME));
    if (url.scheme != "http" && url.scheme != "https")
        return std::nullopt;
    url.host = Text::lowerCase(part(handle.get(), CURLUPART_HOST));
    url.port = part(handle.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
    url.encodedPath = part(handle.get(), CURLUPART_PATH);
    url.user = part(handle.get(), CURLUPART_USER, CURLU_URLDECODE);
    url.password = part(handle.get(), CURLUPART_PASSWORD, CURLU_URLDECODE);
    for (const CURLUPart secret : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS, CURLUPART_FRAGMENT})
        curl_url_set(handle.get(), secret, nullptr, 0);
    url.text = part(handle.get(), CURLUPART_URL);
    curl_url_set(handle.get(), CURLUPART_QUERY, nullptr, 0);
    url.masked = Text::printable(part(handle.get(), CURLUPART_URL));
    return url.text.empty() || url.host.empty() ? std::nullopt : std::optional(url);
}

bool Url::hasSameOrigin(const Url &other) const
{
    return scheme == other.scheme && host == other.host && port == other.port;
}
