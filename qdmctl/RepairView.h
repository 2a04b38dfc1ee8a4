#pragma once

#include "qdmctl/RepairNote.h"

#include <optional>
#include <string>

namespace qdmctl {

enum class Outcome;

/// What came of an installation of the adapter utility that had been begun, as an answer tells it.
struct RepairView {
    std::optional<RepairNote> note;  ///< none: nothing to repair
    Outcome outcome{};
    std::string reason;
};

}  // namespace qdmctl
