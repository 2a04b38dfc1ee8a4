#include "qdmctl/AnswerChecks.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

constexpr std::string_view names[] = {"ok", "warning", "failure"};
constexpr const char* colours[] = {green, yellow, red};
constexpr CheckState states[] = {CheckState::Ok, CheckState::Warning, CheckState::Failure};
constexpr std::size_t stateWidth = 9;

CheckState StateOf(const std::string& name) {
    const auto found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names)) {
        throw nlohmann::json::other_error::create(501, "unknown state", nullptr);
    }
    return states[found - std::begin(names)];
}

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string CheckText(const Check& check, std::size_t nameWidth, const TableStyle& style) {
    const std::string name = Padded(check.name, nameWidth);
    const std::string state(NameOf(check.state));
    std::string text =
        Indented(name + Padded(state, stateWidth), check.finding, UsableWidth(style));
    text.replace(name.size(), state.size(),
                 Coloured(state, colours[static_cast<std::size_t>(check.state)], style));
    const std::string label = std::string(nameWidth + stateWidth, ' ') + "remedy: ";
    return check.remedy.empty() ? text : text + Indented(label, check.remedy, UsableWidth(style));
}

}  // namespace

std::string_view NameOf(CheckState state) {
    return names[static_cast<std::size_t>(state)];
}

nlohmann::ordered_json ChecksToJson(const std::vector<Check>& checks) {
    auto json = nlohmann::ordered_json::array();
    for (const Check& check : checks) {
        json.push_back({{"name", check.name},
                        {"state", NameOf(check.state)},
                        {"finding", check.finding},
                        {"remedy", check.remedy}});
    }
    return json;
}

std::vector<Check> ChecksFromJson(const nlohmann::json& json) {
    std::vector<Check> checks;
    for (const nlohmann::json& one : json) {
        checks.push_back(
            {one.at("name"), StateOf(one.at("state")), one.at("finding"), one.at("remedy")});
    }
    return checks;
}

std::string ChecksToText(const std::vector<Check>& checks, const TableStyle& style) {
    std::size_t nameWidth = 0;
    for (const Check& check : checks) {
        nameWidth = std::max(nameWidth, check.name.size() + tableGap);
    }
    std::string text;
    for (const Check& check : checks) {
        text += CheckText(check, nameWidth, style);
    }
    text += "\n";
    for (const CheckState state : states) {
        const auto count = std::count_if(checks.begin(), checks.end(),
                                         [&](const Check& one) { return one.state == state; });
        text += (state == CheckState::Ok ? "" : ", ") + std::to_string(count) + " ";
        text += NameOf(state);
    }
    return text + "\n";
}

}  // namespace qdmctl
