#include "provider/common/KeyValueLine.h"

namespace KeyValueLine {

std::optional<Match> Find(std::string_view line, const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        const std::size_t position = line.find(key);
        if (position != std::string_view::npos) {
            return Match{&key, position};
        }
    }
    return std::nullopt;
}

std::optional<std::string_view> Value(std::string_view line, const Match& match,
                                      std::string_view separator) {
    const std::size_t behindKey = line.find(separator, match.position);
    if (behindKey == std::string_view::npos) {
        return std::nullopt;
    }
    // Blanks only: a tab is part of the value.
    const std::size_t first = line.find_first_not_of(' ', behindKey + separator.size());
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    return line.substr(first, line.find_last_not_of(' ') - first + 1);
}

}  // namespace KeyValueLine
