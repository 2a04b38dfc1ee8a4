#include "host/ComLib/ShellCommand.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/ComLib/CommandStreams.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How often a running command's output is looked at.
constexpr milliseconds kLookInterval{500};
/// How long a killed command may take to end.
constexpr milliseconds kLongestEnding{5000};
/// How often its end is asked for on a kernel that cannot wait for it.
constexpr milliseconds kAskInterval{20};

/// Default SIGCHLD for as long as it lives: an ignored one makes the kernel throw exit statuses
/// away, and a handler that waits for every child takes ours. A handler that was there is called
/// once at the end, since children of its own may have ended meanwhile.
class ChildSignal {
public:
    ChildSignal() {
        struct sigaction standard = {};
        standard.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &standard, &before);
    }
    ~ChildSignal() {
        sigaction(SIGCHLD, &before, nullptr);
        if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) {
            raise(SIGCHLD);
        }
    }
    ChildSignal(const ChildSignal&) = delete;
    ChildSignal& operator=(const ChildSignal&) = delete;

private:
    struct sigaction before = {};
};

class SpawnSettings {
public:
    SpawnSettings() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    void Streams(int input, int output, int errors) {
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    }

    void Folder(const std::string& folder) {
        if (!folder.empty()) {
            posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
        }
    }

    void OwnGroupAndPlainSignals() {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(
            &attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }

    /// 0, or an errno.
    int Spawn(pid_t& pid, const std::string& line) {
        std::string text = line;
        char shell[] = "sh";
        char option[] = "-c";
        char* const arguments[] = {shell, option, text.data(), nullptr};
        return posix_spawn(&pid, "/bin/sh", &actions, &attributes, arguments, environ);
    }

private:
    posix_spawn_file_actions_t actions = {};
    posix_spawnattr_t attributes = {};
};

/// A child that has not been waited for. That is done at the latest here, and without ending it:
/// a flash must not break off because memory ran out in this process.
class Child {
public:
    explicit Child(pid_t pid)
        : pid(pid), waitable(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}
    ~Child() {
        if (!reaped) {
            Reap();
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool HasEnded() const {
        siginfo_t info = {};
        const int result =
            waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT);
        return result == 0 ? info.si_pid != 0 : errno != EINTR;
    }

    /// Returns at the child's end, or after `longest`, or sooner.
    void Pause(milliseconds longest) const {
        pollfd waiting = {waitable.Get(), POLLIN, 0};
        if (!waitable) {
            longest = std::min(longest, kAskInterval);
        }
        poll(&waiting, waitable ? 1 : 0, static_cast<int>(longest.count()));
    }

    int Reap() {
        int status = 0;
        pid_t result = 0;
        do {
            result = waitpid(pid, &status, 0);
        } while (result < 0 && errno == EINTR);
        reaped = true;
        if (result < 0) {
            return 255;  // another part of the process has taken the status
        }
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }

    /// The group cannot be another's: its leader is ours until it is waited for. One that hangs in
    /// the kernel is left to its end there.
    void EndGroup() {
        kill(-pid, SIGKILL);
        const auto start = Clock::now();
        while (!HasEnded() && Clock::now() - start < kLongestEnding) {
            Pause(kLookInterval);
        }
        if (HasEnded()) {
            Reap();
        }
        reaped = true;
    }

private:
    pid_t pid;
    Descriptor waitable;
    bool reaped = false;
};

class Run {
public:
    explicit Run(const ShellCommand& command) : command(command) {}

    ShellResult Execute() {
        std::string reason = Prepare();
        if (!reason.empty()) {
            return {ShellResult::Outcome::NotStarted, 0, reason};
        }
        const ChildSignal signal;
        pid_t pid = -1;
        if (const int error = Start(pid)) {
            return {ShellResult::Outcome::NotStarted, 0, std::strerror(error)};
        }
        Child child(pid);
        ShellResult result = Await(child);
        errors.Close();
        output.Cut();
        return result;
    }

private:
    std::string Prepare() {
        if (command.line.find('\0') != std::string::npos) {
            return "the command holds a NUL character";
        }
        std::string reason = output.Open(command.outputFile);
        if (reason.empty()) {
            reason = errors.Open();
        }
        input = Descriptor(OpenAboveStandard("/dev/null", O_RDONLY));
        if (reason.empty() && !input) {
            reason = std::string("cannot open /dev/null: ") + std::strerror(errno);
        }
        return reason;
    }

    int Start(pid_t& pid) {
        SpawnSettings settings;
        settings.Streams(input.Get(), output.Number(), errors.Number());
        settings.Folder(command.workFolder);
        settings.OwnGroupAndPlainSignals();
        return settings.Spawn(pid, command.line);
    }

    ShellResult Await(Child& child) {
        const auto start = Clock::now();
        while (!child.HasEnded()) {
            milliseconds pause = kLookInterval;
            if (command.limit) {
                const auto gone = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
                pause = std::min(pause, *command.limit - gone);
            }
            if (command.limit && pause <= milliseconds::zero()) {
                child.EndGroup();
                return {ShellResult::Outcome::TimedOut, 0, ""};
            }
            child.Pause(pause);
            errors.Forward();
            output.KeepInBounds();
        }
        return {ShellResult::Outcome::Ran, child.Reap(), ""};
    }

    const ShellCommand& command;
    OutputFile output;
    ErrorText errors;
    Descriptor input;
};

}  // namespace

ShellResult RunShell(const ShellCommand& command) {
    return Run(command).Execute();
}
