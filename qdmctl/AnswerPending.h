#pragma once

#include "qdmctl/PendingView.h"
#include "qdmctl/TableText.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace qdmctl {

[[nodiscard]] nlohmann::ordered_json PendingToJson(const std::vector<PendingView>& views);

/// Throws what the library throws for an answer that has not been made by PendingToJson.
[[nodiscard]] std::vector<PendingView> PendingFromJson(const nlohmann::json& json);

[[nodiscard]] std::string PendingToText(const std::vector<PendingView>& views,
                                        const TableStyle& style);

}  // namespace qdmctl
