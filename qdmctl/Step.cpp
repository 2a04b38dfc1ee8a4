#include "qdmctl/Step.h"

#include "qdmctl/JsonNumber.h"

namespace qdmctl {

std::string ToText(const Step& step) {
    const nlohmann::json json = {{"number", step.number},     {"total", step.total},
                                 {"phase", step.phase},       {"device", step.device},
                                 {"changing", step.changing}, {"announce", step.announce},
                                 {"guarded", step.guarded},   {"deadlineMs", step.deadlineMs}};
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::optional<Step> StepFromText(const std::string& text) {
    const auto json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    try {
        return Step{
            WholeNumber<unsigned>(json.at("number")), WholeNumber<unsigned>(json.at("total")),
            json.at("phase").get<std::string>(),      json.at("device").get<std::string>(),
            json.at("changing").get<bool>(),          json.at("announce").get<bool>(),
            json.at("guarded").get<bool>(),           WholeNumber<unsigned>(json.at("deadlineMs"))};
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

}  // namespace qdmctl
