#include "provider/common/FileStamp.h"

#include <ctime>

namespace {

constexpr long nanosecondsPerSecond = 1000000000;

// Longer than a tick of any kernel; and where a file system counts in whole seconds, of some in
// pairs, longer than that.
constexpr double tickSeconds = 0.02;
constexpr double wholeSeconds = 2.5;

bool IsSame(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

}  // namespace

bool FileStamp::operator==(const FileStamp& other) const {
    return status.st_dev == other.status.st_dev && status.st_ino == other.status.st_ino &&
           status.st_size == other.status.st_size && IsSame(status.st_mtim, other.status.st_mtim) &&
           IsSame(status.st_ctim, other.status.st_ctim);
}

bool FileStamp::IsSettled() const {
    timespec now = {};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
        return false;
    }
    const timespec& changed = status.st_ctim;
    const double age = static_cast<double>(now.tv_sec - changed.tv_sec) +
                       static_cast<double>(now.tv_nsec - changed.tv_nsec) / nanosecondsPerSecond;
    return age > (changed.tv_nsec == 0 ? wholeSeconds : tickSeconds);
}

bool FileStamp::IsSmallFile(std::size_t largest) const {
    return S_ISREG(status.st_mode) && static_cast<std::size_t>(status.st_size) <= largest;
}
