#include "host/ComLib/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>

#include "host/ComLib/Descriptor.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr long kAskIntervalNs = 20L * 1000 * 1000;

/// False when the file was replaced between opening and locking it: the lock is then on one that
/// nobody else finds.
bool IsAt(int descriptor, const std::string& file) {
    struct stat held = {};
    struct stat named = {};
    return fstat(descriptor, &held) == 0 && lstat(file.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

/// 0 or an errno; EWOULDBLOCK when the time is over.
int Acquire(int descriptor, int operation, long timeoutMs) {
    const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs < 0 ? 0 : timeoutMs);
    for (;;) {
        if (flock(descriptor, timeoutMs < 0 ? operation : operation | LOCK_NB) == 0) {
            return 0;
        }
        const int error = errno;
        if (error != EINTR && (error != EWOULDBLOCK || Clock::now() >= end)) {
            return error;
        }
        if (error == EWOULDBLOCK) {
            const struct timespec pause = {0, kAskIntervalNs};
            nanosleep(&pause, nullptr);
        }
    }
}

}  // namespace

FileLock::~FileLock() {
    Unlock();
}

FileLock::FileLock(FileLock&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        Unlock();
        descriptor = std::exchange(other.descriptor, -1);
    }
    return *this;
}

FileLock::Result FileLock::Lock(const std::string& file, Mode mode, long timeoutMs) {
    Unlock();
    for (;;) {
        ::Descriptor opened(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!opened) {
            return Result::Failed;
        }
        const int operation = mode == Mode::Exclusive ? LOCK_EX : LOCK_SH;
        const int error = Acquire(opened.Get(), operation, timeoutMs);
        if (error != 0) {
            errno = error;
            return error == EWOULDBLOCK ? Result::Busy : Result::Failed;
        }
        if (IsAt(opened.Get(), file)) {
            descriptor = opened.Release();
            return Result::Locked;
        }
    }
}

void FileLock::Unlock() {
    if (descriptor >= 0) {
        close(std::exchange(descriptor, -1));
    }
}
