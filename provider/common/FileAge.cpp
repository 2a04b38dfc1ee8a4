#include "provider/common/FileAge.h"

#include "provider/common/Trace.h"

#include <sys/stat.h>

#include <ctime>

namespace {

constexpr long lifetimeSeconds = 3600;

// time() is up to a tick late, and what is written when a second begins would lie in the future.
time_t Now() {
    const time_t now = ::time(nullptr);
    timespec exact = {};
    const bool begun = ::clock_gettime(CLOCK_REALTIME, &exact) == 0 && exact.tv_sec == now + 1;
    return begun ? exact.tv_sec : now;
}

std::optional<long> Age(const std::string& path, struct stat& status) {
    const time_t now = Now();
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return static_cast<long>(::difftime(now, status.st_mtime));
}

}  // namespace

std::optional<long> FileAge(const std::string& path) {
    struct stat status = {};
    return Age(path, status);
}

std::optional<FileStamp> FreshCache(const std::string& path, const char* words) {
    struct stat status = {};
    const std::optional<long> age = Age(path, status);
    if (!age) {
        return std::nullopt;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s elapse time [%d] sec", words,
                              static_cast<int>(*age));
    return *age < lifetimeSeconds ? std::optional<FileStamp>(status) : std::nullopt;
}
