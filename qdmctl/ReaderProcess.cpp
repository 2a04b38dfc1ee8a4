#include "qdmctl/ReaderProcess.h"

#include "qdmctl/ProcessTree.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace qdmctl {
namespace {

// The kernel keeps each message whole, so a number is there or is not.
template <class Value>
bool Send(int channel, Value value) {
    return ::send(channel, &value, sizeof value, MSG_NOSIGNAL) == sizeof value;
}

template <class Value>
std::optional<Value> Receive(int channel) {
    Value value{};
    ssize_t got = 0;
    do {
        got = ::recv(channel, &value, sizeof value, 0);
    } while (got < 0 && errno == EINTR);
    return got == sizeof value ? std::optional<Value>(value) : std::nullopt;
}

void EndOwnGroup(int) {
    ::kill(0, SIGKILL);
}

/// From here on the kernel tells when the maker is gone. A process that outlived it would keep its
/// lock held and its channel open.
bool EndWith(pid_t maker) {
    struct sigaction makerGone {};
    makerGone.sa_handler = EndOwnGroup;
    return ::setpgid(0, 0) == 0 && ::sigaction(SIGUSR2, &makerGone, nullptr) == 0 &&
           ::prctl(PR_SET_PDEATHSIG, SIGUSR2) == 0 && ::getppid() == maker;
}

/// Nothing of what the maker has on its stack may be destroyed here, nor run at an exit.
[[noreturn]] void Serve(int channel, const ReaderProcess::Call& call) noexcept {
    try {
        while (const auto number = Receive<std::size_t>(channel)) {
            Send(channel, call(*number));
        }
    } catch (...) {
        ::_exit(EXIT_FAILURE);
    }
    ::_exit(EXIT_SUCCESS);
}

}  // namespace

std::unique_ptr<ReaderProcess> ReaderProcess::Start(const Call& call) {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return nullptr;
    }
    FileHandle own(ends[0]);
    const FileHandle theirs(ends[1]);
    const pid_t maker = ::getpid();
    const pid_t pid = ::fork();
    if (pid < 0) {
        return nullptr;
    }
    if (pid == 0) {
        if (!EndWith(maker)) {
            ::_exit(EXIT_FAILURE);
        }
        own = FileHandle();
        Serve(theirs.Get(), call);
    }
    ::setpgid(pid, pid);  // as the process does itself; whoever comes first
    return std::unique_ptr<ReaderProcess>(new ReaderProcess(pid, std::move(own)));
}

/// The group is there until its leader has been waited for, so it cannot be another's.
ReaderProcess::~ReaderProcess() {
    if (calling) {
        EndDescendants(pid);  // in groups of their own too
    }
    ::kill(pid, SIGKILL);
    ::kill(-pid, SIGKILL);
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool ReaderProcess::Begin(std::size_t number) {
    calling = Send(channel.Get(), number);
    return calling;
}

std::optional<bool> ReaderProcess::Result() {
    const auto result = Receive<bool>(channel.Get());
    calling = calling && !result;
    return result;
}

}  // namespace qdmctl
