#pragma once

#include <chrono>
#include <optional>
#include <string>

/// A shell line to run, the one way in which the host starts programs.
struct ShellCommand {
    std::string line;
    std::string outputFile;  ///< standard output; empty: nowhere
    std::string workFolder;  ///< empty: the caller's
    std::optional<std::chrono::milliseconds> limit;
};

struct ShellResult {
    enum class Outcome { Ran, NotStarted, TimedOut };
    Outcome outcome = Outcome::NotStarted;
    int exitStatus = 0;  ///< when it ran; 128 + n for a command that signal n ended
    std::string reason;  ///< why it was not started
};

/// Runs the line with "/bin/sh -c" as the leader of a process group and waits for its end, not for
/// the end of its output: what it leaves behind in the background runs on. At the time limit the
/// whole group is ended. Standard input is empty, standard error goes to the trace. No descriptor,
/// signal mask or signal disposition of the caller is passed on; its SIGCHLD disposition is set
/// aside while the command runs, so this is not for several threads at a time.
[[nodiscard]] ShellResult RunShell(const ShellCommand& command);
