#pragma once

#include "qdmctl/TableText.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace qdmctl {

enum class CheckState { Ok, Warning, Failure };

/// One thing that was looked at. A name may come several times, once for each finding.
struct Check {
    std::string name;
    CheckState state = CheckState::Ok;
    std::string finding;
    std::string remedy;  ///< empty where nothing is wrong
};

/// "ok", "warning", "failure".
[[nodiscard]] std::string_view NameOf(CheckState state);

[[nodiscard]] nlohmann::ordered_json ChecksToJson(const std::vector<Check>& checks);

/// Throws nlohmann::json::exception for another form.
[[nodiscard]] std::vector<Check> ChecksFromJson(const nlohmann::json& json);

[[nodiscard]] std::string ChecksToText(const std::vector<Check>& checks, const TableStyle& style);

}  // namespace qdmctl
