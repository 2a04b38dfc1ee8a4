#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One line "name, separator, value" of a tool's output, its end made blank.
namespace KeyValueLine {

struct Match {
    const std::string* key;  ///< one of those that were looked for
    std::size_t position;
};

/// The first of `keys`, in their order, that the line contains.
std::optional<Match> Find(std::string_view line, const std::vector<std::string>& keys);

/// What stands behind the first separator from the key's position on, without the blanks around
/// it. Nothing when there is no separator or nothing behind it.
std::optional<std::string_view> Value(std::string_view line, const Match& match,
                                      std::string_view separator);

}  // namespace KeyValueLine
