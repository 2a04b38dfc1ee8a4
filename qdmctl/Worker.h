#pragma once

#include "qdmctl/Channel.h"

namespace qdmctl {

struct Options;
struct Output;
struct StreamStyles;

/// Runs a command in the process at hand, the forked worker, and sends what is to be printed on
/// streams of these styles. The process leaves the user's session and standard streams: what tools
/// print goes to the trace. It ends here.
[[noreturn]] void RunWorker(const Options& options, const StreamStyles& styles, Channel& channel);

/// Runs a command in a worker process, with this process in front of it.
[[nodiscard]] Output RunInWorker(const Options& options);

}  // namespace qdmctl
