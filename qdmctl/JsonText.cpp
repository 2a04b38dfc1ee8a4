#include "qdmctl/JsonText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace qdmctl {

using Json = nlohmann::json;

Json ParseJson(const std::string& text, Faults& faults) {
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        // The library's own text may quote the file, so only the place is taken from it.
        const auto end =
            text.begin() + static_cast<std::ptrdiff_t>(std::min(error.byte, text.size()));
        faults.Add("line " + std::to_string(1 + std::count(text.begin(), end, '\n')),
                   "is not valid JSON");
        return nullptr;
    } catch (const Json::out_of_range&) {
        faults.Add("", "holds a number that is too large");
        return nullptr;
    }
}

Json ParseOwnJson(const std::string& text) {
    return Json::parse(text, nullptr, false);
}

}  // namespace qdmctl
