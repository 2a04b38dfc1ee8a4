#include "lab/cut/Tracer.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "lab/cut/Steps.h"

namespace {

constexpr int notStarted = 127;
constexpr int killedBase = 128;

int EventOf(int status) {
    return status >> 16;
}

[[noreturn]] void Become(int ready, char** command) {
    char byte = 0;
    if (::read(ready, &byte, 1) == 1 && StopAtSteps()) {
        ::execvp(command[0], command);
    }
    std::fprintf(stderr, "lab-cut: %s: %s\n", command[0], std::strerror(errno));
    ::_exit(notStarted);
}

bool IsGroupStop(int status) {
    const int signal = WSTOPSIG(status);
    return EventOf(status) == PTRACE_EVENT_STOP &&
           (signal == SIGSTOP || signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU);
}

/// A stop by a signal lasts until another signal ends it; any other ends here.
void Resume(pid_t process, int status) {
    const int signal = EventOf(status) == 0 ? WSTOPSIG(status) : 0;
    ::ptrace(IsGroupStop(status) ? PTRACE_LISTEN : PTRACE_CONT, process, nullptr, signal);
}

}  // namespace

int Tracer::Run(char** command) {
    if (!Start(command)) {
        std::perror("lab-cut");
        return notStarted;
    }
    int status = 0;
    for (pid_t process = 0; (process = ::waitpid(-1, &status, __WALL)) > 0 || errno == EINTR;) {
        if (process > 0) {
            Handle(process, status);
        }
    }
    std::fflush(log);
    return outcome;
}

bool Tracer::Start(char** command) {
    constexpr long options = PTRACE_O_TRACESECCOMP | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK |
                             PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;
    int ready[2];
    if (::pipe2(ready, 0) != 0 || (first = ::fork()) < 0) {
        return false;
    }
    if (first == 0) {
        ::close(ready[1]);
        Become(ready[0], command);
    }
    alive.insert(first);
    ::close(ready[0]);
    const bool seized = ::ptrace(PTRACE_SEIZE, first, nullptr, options) == 0;
    const bool released = seized && ::write(ready[1], "", 1) == 1;
    ::close(ready[1]);
    return released;
}

void Tracer::Handle(pid_t process, int status) {
    if (!WIFSTOPPED(status)) {
        alive.erase(process);
        if (process == first) {
            outcome = WIFEXITED(status) ? WEXITSTATUS(status) : killedBase + WTERMSIG(status);
        }
        return;
    }
    alive.insert(process);
    if (cut || (EventOf(status) == PTRACE_EVENT_SECCOMP && IsCut(process))) {
        cut = true;
        KillAll();
        return;
    }
    Resume(process, status);
}

bool Tracer::IsCut(pid_t process) {
    __ptrace_syscall_info call = {};
    if (::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof call, &call) <= 0) {
        return false;
    }
    const auto step = DescribeStep(process, call);
    if (!step) {
        return false;
    }
    std::fprintf(log, "%lu %d %s\n", ++steps, process, step->c_str());
    return steps == cutAt;
}

void Tracer::KillAll() {
    for (const pid_t process : alive) {
        ::kill(process, SIGKILL);
    }
}
