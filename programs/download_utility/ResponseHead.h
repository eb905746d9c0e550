#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/**
 * The head of an HTTP answer, as far as a download needs it. A value, filled line by line; foreign text, so
 * every field is checked: what is damaged or contradicts itself sets isMalformed or is left out.
 */
struct ResponseHead
{
    struct Range
    {
        std::uint64_t first = 0;
        std::uint64_t last = 0; ///< inclusive, never before first
        std::optional<std::uint64_t> total; ///< above last
    };

    /// One line, with or without its line end. A status line starts a new head.
    void addLine(std::string_view line);

    /// True when the length of the body is told or framed, so that an early end is noticed.
    bool hasKnownEnd() const { return contentLength.has_value() || isChunked; }

    int status = 0; ///< 0: none yet
    std::optional<std::uint64_t> contentLength;
    std::optional<Range> contentRange;
    bool isChunked = false;
    bool isEncoded = false; ///< compressed for the transport although nobody asked
    bool isMultipart = false;
    bool isMalformed = false;
    std::string entityTag; ///< strong, with its quotes; empty: none or a weak one
    std::string lastModified; ///< empty unless it is old enough against "Date" to be a strong validator
    std::string location;

    /// Reads "bytes 5-9/10" or "bytes 5-9/*"; nothing for everything else.
    static std::optional<Range> parseContentRange(std::string_view value);

private:
    void addField(const std::string &name, std::string_view value);
    void settleLastModified();

    std::string m_date;
    std::string m_lastModified;
};
