#include "qdmctl/TextForms.h"

#include <algorithm>
#include <string_view>

namespace qdmctl {
namespace {

constexpr std::size_t longestWord = 64;
constexpr std::size_t longestPath = 255;

// Not the library's isalnum, which follows the locale.
bool IsAlphanumeric(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool IsMadeOf(std::string_view text, std::string_view others) {
    return std::all_of(text.begin(), text.end(), [&](char c) {
        return IsAlphanumeric(c) || others.find(c) != std::string_view::npos;
    });
}

bool IsPathPart(std::string_view part, bool wildcards) {
    return part.find_first_not_of('.') != std::string_view::npos && part.front() != '-' &&
           IsMadeOf(part, wildcards ? "._+-*?" : "._+-");
}

}  // namespace

bool StartsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool IsRelativePath(const std::string& text, bool wildcards) {
    if (text.size() > longestPath) {
        return false;
    }
    std::string_view rest = text;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = rest.find('/');
        if (!IsPathPart(rest.substr(0, end), wildcards)) {
            return false;
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return true;
}

bool IsModuleKind(const std::string& text) {
    return text == "util" || text == "firm" || text == "driver";
}

bool IsWord(const std::string& text) {
    return !text.empty() && text.size() <= longestWord && IsMadeOf(text, "_.-") &&
           text.front() != '-' && text.front() != '.';
}

bool IsCommand(const std::string& text, bool (*isProgram)(const std::string&)) {
    const std::size_t end = std::min(text.find(' '), text.size());
    return isProgram(text.substr(0, end)) && IsMadeOf(std::string_view(text).substr(end), " -");
}

bool IsLowerHex(const std::string& text, std::size_t digits) {
    return text.size() == digits && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool IsLabel(const std::string& text) {
    return !text.empty() && text.size() <= longestWord &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace qdmctl
