#include "programs/download_utility/DigestFollower.h"

#include "programs/download_utility/Storage.h"
#include "programs/download_utility/Text.h"

#include <openssl/evp.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <thread>
#include <vector>

namespace {

const std::size_t pieceSize = 256 * 1024;

class Digest
{
public:
    Digest(bool isWanted, const EVP_MD *kind)
        : m_kind(kind)
        , m_context(isWanted ? EVP_MD_CTX_new() : nullptr, &EVP_MD_CTX_free)
    {
        begin();
    }

    void begin()
    {
        if (m_context && EVP_DigestInit_ex(m_context.get(), m_kind, nullptr) != 1)
            throw std::bad_alloc();
    }
    void add(const char *data, std::size_t size)
    {
        if (m_context)
            EVP_DigestUpdate(m_context.get(), data, size);
    }
    std::string finish()
    {
        if (!m_context)
            return std::string();
        unsigned char bytes[EVP_MAX_MD_SIZE];
        unsigned length = 0;
        EVP_DigestFinal_ex(m_context.get(), bytes, &length);
        return Text::toHex(std::string_view(reinterpret_cast<const char *>(bytes), length));
    }

private:
    const EVP_MD *m_kind;
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

} // namespace

class DigestFollower::Private
{
public:
    Private(const Storage &storage, bool wantsMd5, bool wantsSha256)
        : storage(storage)
        , md5(wantsMd5, EVP_md5())
        , sha256(wantsSha256, EVP_sha256())
    { }

    void follow();
    bool readPiece(std::vector<char> &buffer, std::unique_lock<std::mutex> &lock);

    const Storage &storage;
    std::mutex mutex;
    std::condition_variable changed;
    std::uint64_t limit = 0;
    std::uint64_t position = 0;
    bool isReading = false;
    bool isFailed = false;
    bool isEnding = false;
    Digest md5;
    Digest sha256;
    std::string md5Digits;
    std::string sha256Digits;
    std::thread thread;
};

bool DigestFollower::Private::readPiece(std::vector<char> &buffer, std::unique_lock<std::mutex> &lock)
{
    const std::uint64_t wanted = std::min<std::uint64_t>(limit - position, buffer.size());
    isReading = true;
    lock.unlock();
    const long long count = storage.read(position, buffer.data(), static_cast<std::size_t>(wanted));
    if (count > 0) {
        md5.add(buffer.data(), static_cast<std::size_t>(count));
        sha256.add(buffer.data(), static_cast<std::size_t>(count));
    }
    lock.lock();
    isReading = false;
    position += static_cast<std::uint64_t>(std::max(count, 0LL));
    return count > 0;
}

void DigestFollower::Private::follow()
{
    std::vector<char> buffer(pieceSize);
    std::unique_lock<std::mutex> lock(mutex);
    while (!isEnding) {
        if (isFailed || position >= limit) {
            changed.wait(lock);
            continue;
        }
        isFailed = !readPiece(buffer, lock);
        if (isFailed || position >= limit || limit == 0)
            changed.notify_all();
    }
}

DigestFollower::DigestFollower(const Storage &storage, bool wantsMd5, bool wantsSha256)
    : d(new Private(storage, wantsMd5, wantsSha256))
{
    if (wantsMd5 || wantsSha256)
        d->thread = std::thread([this] { d->follow(); });
}

DigestFollower::~DigestFollower()
{
    {
        const std::lock_guard<std::mutex> lock(d->mutex);
        d->isEnding = true;
    }
    d->changed.notify_all();
    if (d->thread.joinable())
        d->thread.join();
}

void DigestFollower::advance(std::uint64_t size)
{
    if (!d->thread.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(d->mutex);
        d->limit = size;
        // Waking the thread for every packet would cost more than the digest.
        if (size - d->position < pieceSize)
            return;
    }
    d->changed.notify_all();
}

void DigestFollower::restart()
{
    if (!d->thread.joinable())
        return;
    std::unique_lock<std::mutex> lock(d->mutex);
    d->limit = 0;
    d->changed.wait(lock, [this] { return !d->isReading; });
    d->position = 0;
    d->isFailed = false;
    d->md5.begin();
    d->sha256.begin();
}

bool DigestFollower::waitFor(std::chrono::milliseconds time)
{
    if (!d->thread.joinable())
        return true;
    d->changed.notify_all();
    std::unique_lock<std::mutex> lock(d->mutex);
    return d->changed.wait_for(lock, time,
                               [this] { return d->isFailed || (!d->isReading && d->position >= d->limit); });
}

bool DigestFollower::finish()
{
    while (!waitFor(std::chrono::seconds(1))) { }
    const std::lock_guard<std::mutex> lock(d->mutex);
    if (d->isFailed)
        return false;
    d->md5Digits = d->md5.finish();
    d->sha256Digits = d->sha256.finish();
    return true;
}

std::string DigestFollower::md5() const
{
    return d->md5Digits;
}

std::string DigestFollower::sha256() const
{
    return d->sha256Digits;
}
