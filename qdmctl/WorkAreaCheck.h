#pragma once

#include "qdmctl/Error.h"

#include <optional>
#include <string>

namespace qdmctl {

/// Makes sure that the install root belongs to the caller alone, that the folders of the work area
/// below it exist or can be made, and that a file can be written there. WorkArea or DiskFull,
/// naming the path at fault.
[[nodiscard]] std::optional<Error> CheckWorkFolders(const std::string& root);

}  // namespace qdmctl
