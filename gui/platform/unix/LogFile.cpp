#include "gui/platform/LogFile.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace KovGui::Platform::LogFile {

// The descriptor, or ~descriptor while the file counts as closed. Its number is never given back, since a
// thread may be on its way into write() with it: the next file is put over it instead.
static constexpr int noDescriptor = -1;
static std::atomic<int> s_state{noDescriptor};

// Which file we put behind the number. A host that closes descriptors it does not know (as daemons do when
// they start) frees ours, and the number may by now be its socket.
static std::atomic<dev_t> s_device{0};
static std::atomic<ino_t> s_inode{0};

static std::atomic<bool> s_tornLine{false};

static int numberOf(int state)
{
    return state >= 0 ? state : ~state;
}

static bool isOurs(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && status.st_dev == s_device && status.st_ino == s_inode;
}

bool isOpen() noexcept
{
    return s_state.load(std::memory_order_acquire) >= 0;
}

bool isAt(const char *path) noexcept
{
    const int descriptor = s_state.load(std::memory_order_acquire);
    struct stat status;
    return descriptor >= 0 && lstat(path, &status) == 0 && status.st_dev == s_device
           && status.st_ino == s_inode && isOurs(descriptor);
}

static int openForAppending(const char *path)
{
    // Not blocking: a pipe without a reader must refuse us instead of holding us.
    const int flags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    // O_CREAT stays out of the first attempt: in a sticky folder systems refuse it on another user's file.
    for (int attempt = 0; attempt < 10; ++attempt) {
        int descriptor = ::open(path, flags);
        if (descriptor >= 0 || errno != ENOENT)
            return descriptor;
        descriptor = ::open(path, flags | O_CREAT | O_EXCL, 0666);
        if (descriptor >= 0)
            fchmod(descriptor, 0666);
        if (descriptor >= 0 || errno != EEXIST)
            return descriptor;
    }
    return noDescriptor;
}

/// Away from the numbers of the standard streams, which others write to without asking whose they are.
static int awayFromStandardStreams(int descriptor)
{
    if (descriptor > STDERR_FILENO)
        return descriptor;
    const int higher = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(descriptor);
    return higher;
}

static void publish(int fresh, const struct stat &file)
{
    int state = s_state.load(std::memory_order_acquire);
    for (;;) {
        const bool replaces = state != noDescriptor && isOurs(numberOf(state));
        s_device = file.st_dev;
        s_inode = file.st_ino;
        if (replaces && dup3(fresh, numberOf(state), O_CLOEXEC) >= 0) {
            s_state.store(numberOf(state), std::memory_order_release);
            ::close(fresh);
            return;
        }
        if (s_state.compare_exchange_weak(state, fresh, std::memory_order_acq_rel))
            return;
    }
}

bool open(const char *path) noexcept
{
    int descriptor = openForAppending(path);
    if (descriptor >= 0)
        descriptor = awayFromStandardStreams(descriptor);
    if (descriptor < 0)
        return false;
    struct stat status;
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1) {
        ::close(descriptor);
        return false;
    }
    publish(descriptor, status);
    return true;
}

void close() noexcept
{
    int state = s_state.load(std::memory_order_acquire);
    while (state >= 0 && !s_state.compare_exchange_weak(state, ~state, std::memory_order_acq_rel)) { }
}

bool append(const char *record, std::size_t length) noexcept
{
    const int state = s_state.load(std::memory_order_acquire);
    if (state == noDescriptor)
        return false;
    // A record that a full disk cut gets its line feed with the next one that fits.
    char lineFeed = '\n';
    const bool torn = s_tornLine.load(std::memory_order_relaxed) && s_tornLine.exchange(false);
    const iovec parts[] = {{&lineFeed, 1}, {const_cast<char *>(record), length}};
    ssize_t written = -1;
    for (int attempt = 0; attempt < 8; ++attempt) {
        written = torn ? writev(numberOf(state), parts, 2) : write(numberOf(state), record, length);
        if (written >= 0 || errno != EINTR)
            break;
    }
    if (written != ssize_t(length + torn) && (torn || written > 0))
        s_tornLine = true;
    return true;
}

} // namespace KovGui::Platform::LogFile
