#pragma once

#include <sys/types.h>
#include <vector>

namespace qdmctl {

/// Every process that descends from `ancestor`, itself left out.
[[nodiscard]] std::vector<pid_t> PidsBelow(pid_t ancestor);

/// Ends every process that descends from `ancestor`, itself left out, at once. The caller makes
/// sure that nothing among them must live on. What has lost its parent is no descendant any more.
void EndDescendants(pid_t ancestor);

/// What a worker that was killed has left at work: commands that nobody waits for any more. The
/// worker leads a session of its own, and every command that it starts leads a group there or
/// belongs to the worker's; what else is in the session are daemons that a command has left.
[[nodiscard]] std::vector<pid_t> PidsLeftBy(pid_t worker);

}  // namespace qdmctl
