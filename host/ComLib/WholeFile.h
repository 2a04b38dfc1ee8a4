#pragma once

#include <string>

/// Puts a file (mode 0600) in place whole or not at all: written beside it, brought to the disk and
/// renamed. False with errno on failure; what was there before then stays.
[[nodiscard]] bool ReplaceFile(const std::string& path, const std::string& content);
