#pragma once

#include <sys/ptrace.h>
#include <sys/types.h>

#include <optional>
#include <string>

/// Stops the calling process and all that it will start at system calls that may be steps, for the
/// tracer that has seized it. False when the kernel refuses that.
[[nodiscard]] bool StopAtSteps();

/// What a stopped process is about to do, as a line of text, when that changes what others find:
/// files, their names and modes, or the processes and programs that run. None for what only looks
/// so, such as writing into a pipe.
[[nodiscard]] std::optional<std::string> DescribeStep(pid_t process,
                                                      const __ptrace_syscall_info& call);
