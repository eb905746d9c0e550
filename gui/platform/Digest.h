#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace KovGui::Platform {

/**
 * A digest in the making, by the system's own cryptography: OpenSSL's on Unix, CNG on Windows. Both are
 * faster than QCryptographicHash of Qt 5. Without Qt. One thread at a time.
 */
class Digest
{
public:
    enum class Kind {
        Md5, ///< RFC 1321
        Sha256, ///< FIPS 180-4
    };

    explicit Digest(Kind kind);
    ~Digest();

    /// False when the system refuses this kind, as one that is restricted to approved methods does with MD5.
    bool isOffered() const;
    void add(const char *data, std::size_t size);
    /// Of all that was added, as lower-case hexadecimal digits; empty when the system refuses this kind. What
    /// is added next begins another digest.
    std::string finish();
    /// Forgets what was added.
    void restart();

private:
    class Private;
    const std::unique_ptr<Private> d;
};

} // namespace KovGui::Platform
