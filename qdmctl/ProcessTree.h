#pragma once

#include <sys/types.h>
#include <vector>

namespace qdmctl {

/// Every process that descends from `ancestor`, itself left out.
[[nodiscard]] std::vector<pid_t> PidsBelow(pid_t ancestor);

/// Ends every process that descends from `ancestor`, itself left out, at once. The caller makes
/// sure that nothing among them must live on. What has lost its parent is no descendant any more.
void EndDescendants(pid_t ancestor);

}  // namespace qdmctl
