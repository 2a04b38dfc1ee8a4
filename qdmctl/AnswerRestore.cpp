#include "qdmctl/AnswerRestore.h"

#include <nlohmann/json.hpp>

namespace qdmctl {

nlohmann::ordered_json RestoredToJson(const Restored& restored) {
    return {{"cleared", restored.cleared}};
}

Restored RestoredFromJson(const nlohmann::json& json) {
    return {json.at("cleared").get<std::vector<std::string>>()};
}

std::string RestoredToText(const Restored& restored, const TableStyle& style) {
    std::string text;
    for (const std::string& file : restored.cleared) {
        text += Indented("cleared: ", file, UsableWidth(style));
    }
    text += text.empty() ? "nothing was left to clear" : "the next run reads the adapters anew";
    return text + "; no adapter was changed\n";
}

}  // namespace qdmctl
