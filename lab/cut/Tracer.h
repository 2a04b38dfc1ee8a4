#pragma once

#include <sys/types.h>

#include <cstdio>
#include <set>

/// Runs a command and all that it starts, step by step: see DescribeStep.
class Tracer {
public:
    /// Kills everything before the step of this number; 0: never. Steps are written to `log`, the
    /// one that was not made any more as the last.
    Tracer(unsigned long cutAt, std::FILE* log) : cutAt(cutAt), log(log) {}

    /// Waits for the end of all processes. The command's exit status, as a shell tells it.
    [[nodiscard]] int Run(char** command);

private:
    bool Start(char** command);
    void Handle(pid_t process, int status);
    bool IsCut(pid_t process);
    void KillAll();

    unsigned long cutAt;
    std::FILE* log;
    unsigned long steps = 0;
    pid_t first = 0;
    int outcome = 0;
    bool cut = false;
    std::set<pid_t> alive;
};
