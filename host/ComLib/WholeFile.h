#pragma once

#include <string>

/// Puts a file (mode 0600) in place whole or not at all: written beside it and renamed. False with
/// errno on failure; what was there before then stays. It does not wait for the disk: what is
/// written so can be made anew after a power failure, and a disk takes longer than all the rest.
[[nodiscard]] bool ReplaceFile(const std::string& path, const std::string& content);
