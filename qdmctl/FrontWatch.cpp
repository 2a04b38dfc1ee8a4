#include "qdmctl/FrontWatch.h"

#include "qdmctl/ProcessTree.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <csignal>

namespace qdmctl {
namespace {

constexpr int GraceMs = 1000;
constexpr int IntervalMs = 100;
constexpr int NoLimit = -1;

}  // namespace

/// The thread takes no signals: those of the process interrupt what the provider waits for.
FrontWatch::FrontWatch(int channel) : channel(channel), end(::eventfd(0, EFD_CLOEXEC)) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    thread = std::thread([this] { Watch(); });
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

FrontWatch::~FrontWatch() {
    Dismiss();
    thread.join();
    ::close(end);
}

void FrontWatch::Dismiss() const {
    ::eventfd_write(end, 1);
}

void FrontWatch::SetChanging(bool value) {
    const std::lock_guard<std::mutex> lock(guard);
    changing = value;
}

bool FrontWatch::EndRequested(int timeoutMs) const {
    pollfd entry{end, POLLIN, 0};
    return ::poll(&entry, 1, timeoutMs) > 0;
}

void FrontWatch::Watch() {
    pollfd entries[] = {{channel, POLLRDHUP, 0}, {end, POLLIN, 0}};
    ::poll(entries, 2, NoLimit);
    gone = entries[0].revents != 0;
    for (int pause = GraceMs; !EndRequested(pause); pause = IntervalMs) {
        WindUp();
    }
}

void FrontWatch::WindUp() {
    const std::lock_guard<std::mutex> lock(guard);
    if (!changing) {
        ::kill(::getpid(), SIGUSR1);  // as the front process does
        EndDescendants(::getpid());
    }
}

}  // namespace qdmctl
