#pragma once

#include "qdmctl/RepairView.h"
#include "qdmctl/TableText.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace qdmctl {

[[nodiscard]] nlohmann::ordered_json RepairToJson(const RepairView& view);

/// Throws what the library throws for an answer that has not been made by RepairToJson.
[[nodiscard]] RepairView RepairFromJson(const nlohmann::json& json);

[[nodiscard]] std::string RepairToText(const RepairView& view, const TableStyle& style);

}  // namespace qdmctl
