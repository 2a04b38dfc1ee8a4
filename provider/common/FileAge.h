#pragma once

#include <optional>
#include <string>

/// Seconds since the file was last written, negative when that lies in the future; none when there
/// is no such file.
std::optional<long> FileAge(const std::string& path);

/// True for a file of less than an hour, one from the future included: what the adapter tool
/// printed into it is used again. `words` stand before the age in a trace line.
bool IsFreshCache(const std::string& path, const char* words);
