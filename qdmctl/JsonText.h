#pragma once

#include "qdmctl/JsonFields.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace qdmctl {

/// Parses a data file's text; a fault and null where it is no JSON.
[[nodiscard]] nlohmann::json ParseJson(const std::string& text, Faults& faults);

/// Parses a text of our own; a discarded value where it is no JSON.
[[nodiscard]] nlohmann::json ParseOwnJson(const std::string& text);

}  // namespace qdmctl
