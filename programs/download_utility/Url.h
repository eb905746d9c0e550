#pragma once

#include <optional>
#include <string>

/**
 * An HTTP or HTTPS address taken apart once, so that its user and password never travel inside a text. A
 * value.
 */
struct Url
{
    /// Nothing for a text that is no address, one of another scheme, and one whose host does not follow "//".
    /// Blanks and other bytes that an address cannot hold are percent-encoded; a fragment is dropped.
    /// @param base  what a relative text, such as a redirect's target, is relative to; null: nothing
    static std::optional<Url> parse(const std::string &text, const Url *base = nullptr);

    bool isSecure() const { return scheme == "https"; }
    /// Same scheme, host and port: the only place that may learn user and password.
    bool hasSameOrigin(const Url &other) const;

    /// The address to ask for, without user and password.
    std::string text;
    /// For messages and files: without user, password and query.
    std::string masked;
    std::string scheme; ///< lower case
    std::string host;
    std::string port;
    std::string encodedPath;
    std::string user; ///< decoded; empty: none
    std::string password;
};
