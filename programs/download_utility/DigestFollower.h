#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

class Storage;

/**
 * Computes digests of a part file on a thread of its own, behind the writer: it reads back what was written,
 * so that the digest speaks of the file and not of the network, and neither waits for the other.
 *
 * The calls come from the writer's thread. Memory use is constant.
 */
class DigestFollower
{
public:
    /// @param storage  opened; must outlive the object and keep its part file while digests are wanted
    DigestFollower(const Storage &storage, bool wantsMd5, bool wantsSha256);
    ~DigestFollower();

    /// False when the system refuses a digest that is wanted. To be asked before the first advance().
    bool isPossible() const;
    /// The first @p size bytes are written and stay as they are. Never less than before, except after
    /// restart().
    void advance(std::uint64_t size);
    /// The file begins anew. Call it before the file is shortened.
    void restart();
    /// Waits at most @p time; true when everything up to the last advance() is read, or could not be.
    bool waitFor(std::chrono::milliseconds time);
    /// Waits for that without a limit and ends the digests. False when the file could not be read.
    bool finish();

    /// Lower-case hexadecimal digits, after finish(); empty when not wanted.
    std::string md5() const;
    std::string sha256() const;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
