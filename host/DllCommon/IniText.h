#pragma once

#include <optional>
#include <string>

/// Text of an INI file; empty optional when it is no regular file, cannot be read or is longer than
/// `limit` bytes.
[[nodiscard]] std::optional<std::string> ReadIniText(const std::string& file,
                                                     std::size_t limit = std::size_t{1} << 20);

/// Value of the first line "key = value" of a section, without the blanks around it and of any
/// length. Section and key match in any case of letters. Lines that are neither section, value nor
/// comment (";" or "#" in front) are passed over.
[[nodiscard]] std::optional<std::string> FindIniValue(const std::string& text,
                                                      const std::string& section,
                                                      const std::string& key);
