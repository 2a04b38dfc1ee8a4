#pragma once

#include "qdmctl/Channel.h"
#include "qdmctl/StepBoard.h"

namespace qdmctl {

struct Options;
struct Output;
struct StreamStyles;

/// Runs a command in the process at hand, the forked worker, and sends what is to be printed on
/// streams of these styles. The process leaves the user's session and standard streams: what tools
/// print goes to the trace. It ends here.
[[noreturn]] void RunWorker(const Options& options, const StreamStyles& styles, Channel& channel,
                            StepBoard& board);

/// Runs a command in a worker process, with this process in front of it, and has `tell` print what
/// comes of it; returns what that does. The worker has ended then.
[[nodiscard]] int RunInWorker(const Options& options, int (*tell)(const Output& output));

}  // namespace qdmctl
