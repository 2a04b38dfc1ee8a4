#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Text of an INI file; empty optional when it is no regular file, cannot be read or is longer than
/// `limit` bytes.
[[nodiscard]] std::optional<std::string> ReadIniText(const std::string& file,
                                                     std::size_t limit = std::size_t{1} << 20);

/// One section of an INI text, read once. Section and keys match in any case of letters. Lines that
/// are neither section, value nor comment (";" or "#" in front) are passed over.
class IniSection {
public:
    IniSection(const std::string& text, const std::string& section);

    /// Value of the first line "key = value", without the blanks around it and of any length.
    [[nodiscard]] std::optional<std::string> Find(const std::string& key) const;

private:
    std::vector<std::pair<std::string, std::string>> values;  ///< by key, as they stand
};

/// Value of a key of which nothing else of its section is wanted.
[[nodiscard]] std::optional<std::string> FindIniValue(const std::string& text,
                                                      const std::string& section,
                                                      const std::string& key);
