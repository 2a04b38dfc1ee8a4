#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One line "name, separator, value" of a tool's output.
namespace KeyValueLine {

using Pair = std::pair<std::string, std::string>;

struct Match {
    std::string key;
    std::size_t position;
};

/// The line with its end made blank.
std::string WithoutLineEnd(std::string line);

/// The first of `keys`, in their order, that the line contains.
std::optional<Match> Find(const std::string& line, const std::vector<std::string>& keys);

/// Key and value: what stands behind the first separator from the key's position on, without the
/// blanks around it. Nothing when there is no separator or nothing behind it.
std::optional<Pair> Extract(const std::string& line, const Match& match,
                            const std::string& separator);

}  // namespace KeyValueLine
