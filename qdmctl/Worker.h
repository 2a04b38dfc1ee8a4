#pragma once

#include "qdmctl/Channel.h"

namespace qdmctl {

struct Answer;
struct Options;

/// Runs a command in the process at hand, the forked worker, and sends its answer. The process
/// leaves the user's session and standard streams: what tools print goes to the trace. It ends
/// here.
[[noreturn]] void RunWorker(const Options& options, Channel& channel);

/// Runs a command in a worker process, with this process in front of it.
[[nodiscard]] Answer RunInWorker(const Options& options);

}  // namespace qdmctl
