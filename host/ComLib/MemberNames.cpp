#include "host/ComLib/MemberNames.h"

#include "host/CStringUtil.h"

namespace {

constexpr std::size_t kLongestName = 1024;
constexpr std::size_t kLongestPart = 128;
const char* const kCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._+-/";

std::string RefusalOfParts(std::string name, unsigned deepest) {
    const auto parts = CStringUtil::Split(name, "/");
    if (parts.size() > std::size_t{deepest} + 1) {
        return "too deep";
    }
    for (const std::string& part : parts) {
        if (part.empty()) {
            return "empty part in its name";
        }
        if (part == "." || part == "..") {
            return "\"" + part + "\" in its name";
        }
        if (part.size() > kLongestPart) {
            return "name too long";
        }
    }
    return "";
}

std::string RefusalOf(const std::string& name, unsigned deepest) {
    if (name.empty() || name.front() == '/') {
        return "absolute or empty name";
    }
    if (name.size() > kLongestName) {
        return "name too long";
    }
    if (name.find_first_not_of(kCharacters) != std::string::npos) {
        return "characters in its name that are not allowed";
    }
    return RefusalOfParts(name, deepest);
}

}  // namespace

std::string MemberNames::Add(const std::string& name, bool folder) {
    std::string refusal = RefusalOf(name, deepest);
    for (auto slash = name.find('/'); refusal.empty() && slash != std::string::npos;
         slash = name.find('/', slash + 1)) {
        refusal = AddPart(name.substr(0, slash), true, false);
    }
    return refusal.empty() ? AddPart(name, folder, true) : refusal;
}

std::string MemberNames::AddPart(const std::string& name, bool folder, bool listed) {
    const auto [entry, added] =
        known.try_emplace(CStringUtil::StringToLowerCase(name), Known{name, folder, listed});
    if (added) {
        return "";
    }
    Known& other = entry->second;
    if (other.name != name) {
        return "name differs in case alone from another";
    }
    if (!other.folder || !folder) {
        return other.folder == folder ? "same name twice" : "name of a file and of a folder";
    }
    if (other.listed && listed) {
        return "same name twice";
    }
    other.listed = other.listed || listed;
    return "";
}
