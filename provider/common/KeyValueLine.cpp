#include "provider/common/KeyValueLine.h"

#include "host/CStringUtil.h"

namespace KeyValueLine {

std::string WithoutLineEnd(std::string line) {
    CStringUtil::strReplace(line, "\r", " ");
    CStringUtil::strReplace(line, "\n", " ");
    return line;
}

std::optional<Match> Find(const std::string& line, const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        const std::size_t position = line.find(key);
        if (position != std::string::npos) {
            return Match{key, position};
        }
    }
    return std::nullopt;
}

std::optional<Pair> Extract(const std::string& line, const Match& match,
                            const std::string& separator) {
    const std::size_t behindKey = line.find(separator, match.position);
    if (behindKey == std::string::npos) {
        return std::nullopt;
    }
    // Blanks only: a tab is part of the value.
    const std::size_t first = line.find_first_not_of(' ', behindKey + separator.size());
    if (first == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t last = line.find_last_not_of(' ');
    return Pair{match.key, line.substr(first, last - first + 1)};
}

}  // namespace KeyValueLine
