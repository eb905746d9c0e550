#include "programs/download_utility/DigestFollower.h"

#include "gui/platform/Digest.h"
#include "programs/download_utility/Storage.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <vector>

namespace {

const std::size_t pieceSize = 256 * 1024;

using KovGui::Platform::Digest;

/// Throws when the system refuses the kind: without it nothing could be checked.
std::string finished(std::optional<Digest> *digest)
{
    if (!*digest)
        return std::string();
    std::string digits = (*digest)->finish();
    if (digits.empty())
        throw std::bad_alloc();
    return digits;
}

} // namespace

class DigestFollower::Private
{
public:
    Private(const Storage &storage, bool wantsMd5, bool wantsSha256)
        : storage(storage)
    {
        if (wantsMd5)
            md5.emplace(Digest::Kind::Md5);
        if (wantsSha256)
            sha256.emplace(Digest::Kind::Sha256);
    }

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
    std::optional<Digest> md5;
    std::optional<Digest> sha256;
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
        for (std::optional<Digest> *digest : {&md5, &sha256}) {
            if (*digest)
                (*digest)->add(buffer.data(), static_cast<std::size_t>(count));
        }
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

bool DigestFollower::isPossible() const
{
    return (!d->md5 || d->md5->isOffered()) && (!d->sha256 || d->sha256->isOffered());
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
    for (std::optional<Digest> *digest : {&d->md5, &d->sha256}) {
        if (*digest)
            (*digest)->restart();
    }
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
    d->md5Digits = finished(&d->md5);
    d->sha256Digits = finished(&d->sha256);
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
