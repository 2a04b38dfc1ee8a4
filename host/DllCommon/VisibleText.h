#pragma once

#include <string>

/// The text on one line: control characters are replaced by escapes ("\n", "\x1b"), all else is
/// kept.
[[nodiscard]] std::string VisibleText(const std::string& text);
