#pragma once

#include "qdmctl/TableText.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace qdmctl {

/// What a restore has dropped.
struct Restored {
    std::vector<std::string> cleared;  ///< paths of files
};

[[nodiscard]] nlohmann::ordered_json RestoredToJson(const Restored& restored);

/// Throws nlohmann::json::exception for another form.
[[nodiscard]] Restored RestoredFromJson(const nlohmann::json& json);

[[nodiscard]] std::string RestoredToText(const Restored& restored, const TableStyle& style);

}  // namespace qdmctl
