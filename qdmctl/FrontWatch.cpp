#include "qdmctl/FrontWatch.h"

#include "host/ComLib/Pauses.h"
#include "qdmctl/ProcessTree.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <unistd.h>
#include <atomic>
#include <csignal>

namespace qdmctl {
namespace {

constexpr suseconds_t GraceUs = 999'999;
constexpr suseconds_t IntervalUs = 100'000;

// Signal handlers reach no object.
std::atomic<bool> gone{false};
std::atomic<bool> changing{false};
static_assert(std::atomic<bool>::is_always_lock_free);

/// Once; 0: never.
void WindUpIn(suseconds_t time) {
    const itimerval timer = {{0, 0}, {0, time}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

/// As the front process does. What was interrupted gets on meanwhile, however long a look at all
/// processes takes.
void WindUp(int) {
    if (!changing) {
        EndPauses();
        EndDescendants(::getpid());
        WindUpIn(IntervalUs);
    }
}

void OnFrontGone(int) {
    gone = true;
    if (!changing) {
        WindUpIn(GraceUs);
    }
}

void SetHandler(int number, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigaction(number, &action, nullptr);
}

bool IsHungUp(int channel) {
    pollfd entry{channel, POLLRDHUP, 0};
    return ::poll(&entry, 1, 0) > 0;
}

}  // namespace

/// A pause that runs is to end with the alarm; a changing step is not to notice anything.
FrontWatch::FrontWatch(int channel) {
    gone = changing = false;
    SetHandler(SIGALRM, WindUp, 0);
    SetHandler(SIGUSR2, OnFrontGone, SA_RESTART);
    ::prctl(PR_SET_PDEATHSIG, SIGUSR2);
    if (IsHungUp(channel)) {
        OnFrontGone(SIGUSR2);  // it was too early for the signal
    }
}

FrontWatch::~FrontWatch() {
    ::prctl(PR_SET_PDEATHSIG, 0);
    WindUpIn(0);
}

void FrontWatch::SetChanging(bool value) {
    changing = value;
    if (gone) {
        WindUpIn(value ? 0 : GraceUs);
    }
}

bool FrontWatch::FrontIsGone() const {
    return gone;
}

}  // namespace qdmctl
