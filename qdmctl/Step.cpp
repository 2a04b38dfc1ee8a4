#include "qdmctl/Step.h"

#include <nlohmann/json.hpp>

namespace qdmctl {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Step, number, total, phase, device, changing, announce,
                                   deadlineMs)

std::string ToText(const Step& step) {
    return nlohmann::json(step).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::optional<Step> StepFromText(const std::string& text) {
    const auto json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    try {
        return json.get<Step>();
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

}  // namespace qdmctl
