#include "qdmctl/Limits.h"

#include <sys/resource.h>
#include <algorithm>
#include <string>

namespace qdmctl {
namespace {

struct Limit {
    __rlimit_resource resource;
    const char* what;
    const char* option;  ///< of the shell's `ulimit`
    rlim_t unit;         ///< that the shell counts in
    rlim_t needed;
    rlim_t wanted;
};

constexpr rlim_t mebibyte = rlim_t{1} << 20;

constexpr Limit limits[] = {
    // More open files than usual would only make tools slow that close all they could have.
    {RLIMIT_NOFILE, "open files", "-n", 1, 64, 1024},
    {RLIMIT_AS, "memory", "-v", 1024, 512 * mebibyte, RLIM_INFINITY},
    {RLIMIT_DATA, "memory for data", "-d", 1024, 512 * mebibyte, RLIM_INFINITY},
    {RLIMIT_FSIZE, "the size of a file", "-f", 512, 1024 * mebibyte, RLIM_INFINITY},
    {RLIMIT_CPU, "seconds of computing", "-t", 1, 3600, RLIM_INFINITY},
};

/// What holds in the end.
rlim_t Lift(const Limit& limit) {
    rlimit now{};
    if (::getrlimit(limit.resource, &now) != 0) {
        return RLIM_INFINITY;
    }
    const rlimit before = now;
    now.rlim_cur = std::max(now.rlim_cur, limit.wanted);
    now.rlim_max = std::max(now.rlim_max, now.rlim_cur);
    if (::setrlimit(limit.resource, &now) == 0) {
        return now.rlim_cur;
    }
    now.rlim_max = before.rlim_max;
    now.rlim_cur = std::min(now.rlim_cur, before.rlim_max);
    return ::setrlimit(limit.resource, &now) == 0 ? now.rlim_cur : before.rlim_cur;
}

}  // namespace

std::optional<Error> LiftLimits() {
    for (const Limit& limit : limits) {
        const rlim_t held = Lift(limit);
        if (held < limit.needed) {
            const std::string option = std::string("ulimit ") + limit.option;
            return MakeError(ErrorId::Limits,
                             std::string("the limit for ") + limit.what + " (" + option + ") is " +
                                 std::to_string(held / limit.unit) + ", a run needs " +
                                 std::to_string(limit.needed / limit.unit),
                             "nothing has been done; raise it with \"" + option +
                                 " unlimited\" or where the caller's limits are set, and run the "
                                 "command again");
        }
    }
    return std::nullopt;
}

}  // namespace qdmctl
