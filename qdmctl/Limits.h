#pragma once

#include "qdmctl/Error.h"

#include <optional>

namespace qdmctl {

/// Lifts what the caller's shell may have limited (`ulimit`) as far as that is allowed, for this
/// process and what it starts. An error where a limit stays under which a run, or a tool in the
/// middle of a flash, could come to its end.
[[nodiscard]] std::optional<Error> LiftLimits();

}  // namespace qdmctl
