#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/**
 * What a part file is a part of: the text that stands beside it. A value; parsing and writing are pure
 * functions.
 *
 * The text has one "key value" pair a line, begins with a line that names the format and ends with "end", so
 * that a torn one is noticed. Nothing secret is in it: of the address it holds a digest, and for the reader
 * the masked form.
 */
struct Sidecar
{
    static constexpr std::size_t longestText = 16 * 1024;

    /// Nothing when the text is damaged, of another format, or longer than longestText.
    static std::optional<Sidecar> parse(const std::string &text);
    std::string toText() const;

    std::string urlDigest; ///< SHA-256 of the address without user and password, in hexadecimal digits
    std::string maskedUrl;
    std::optional<std::uint64_t> size; ///< of the whole file
    std::string entityTag; ///< a strong one with its quotes, or empty
    std::string lastModified; ///< only one that is a strong validator, else empty
    std::string md5; ///< the digests that the file was wanted with
    std::string sha256;
    std::string boot; ///< Process::bootIdentity() of the run that wrote it
    std::uint64_t synced = 0; ///< bytes of the part file that stood on the medium when it was written
    bool trustsRanges = true; ///< false: this server gave wrong bytes for a range
};
