#pragma once

#include "qdmctl/Answer.h"

#include <optional>
#include <string>

namespace qdmctl {

/// Reads what ToJson has written; empty for anything else.
[[nodiscard]] std::optional<Answer> FromJson(const std::string& text);

}  // namespace qdmctl
