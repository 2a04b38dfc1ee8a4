#pragma once

#include "qdmctl/RepairNote.h"

#include <optional>
#include <string>

namespace qdmctl {

/// Whether the noted package is still there and nobody else has had a hand in it: every folder from
/// the install root on and all that lies in the package's belong to the caller alone. What is
/// writable for others, as scripts of packages are made, must lie where others cannot get.
[[nodiscard]] std::optional<Error> CheckRepairFolder(const std::string& root,
                                                     const RepairNote& note);

/// How a server gets the utility when the noted package cannot be used.
[[nodiscard]] std::string ByHandHint(const RepairNote& note);

}  // namespace qdmctl
