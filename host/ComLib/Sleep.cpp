#include "host/Sleep.h"

#include "host/ComLib/Pauses.h"

#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

volatile std::sig_atomic_t pausesEnded = 0;

}  // namespace

void EndPauses() {
    pausesEnded = 1;
}

void Sleep(unsigned long milliseconds) {
    struct timespec rest = {};
    rest.tv_sec = static_cast<time_t>(milliseconds / 1000);
    rest.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    while (pausesEnded == 0 && clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}
