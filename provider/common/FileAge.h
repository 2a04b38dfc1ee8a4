#pragma once

#include "provider/common/FileStamp.h"

#include <optional>
#include <string>

/// Seconds since the file was last written, negative when that lies in the future; none when there
/// is no such file.
std::optional<long> FileAge(const std::string& path);

/// The stamp of a file of less than an hour, one from the future included: what the adapter tool
/// printed into it is used again. Nothing for an older or missing one. `words` stand before the age
/// in a trace line.
std::optional<FileStamp> FreshCache(const std::string& path, const char* words);
