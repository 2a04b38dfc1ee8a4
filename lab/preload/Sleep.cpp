#include "host/Sleep.h"

#include <cerrno>
#include <ctime>

/// Stands before the host's own `Sleep` in every process of a lab: a hundredth of the pause.
void Sleep(unsigned long milliseconds) {
    constexpr unsigned long hundredthsInSecond = 100000;
    constexpr long nanosecondsInHundredth = 10000;
    timespec left = {};
    left.tv_sec = static_cast<time_t>(milliseconds / hundredthsInSecond);
    left.tv_nsec = static_cast<long>(milliseconds % hundredthsInSecond) * nanosecondsInHundredth;
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}
