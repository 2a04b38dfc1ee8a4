#include "qdmctl/AnswerPending.h"

#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::ordered_json;

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

std::string TextOf(const nlohmann::json& json, const char* key) {
    const auto& value = json.at(key);
    return value.is_null() ? std::string() : value.get<std::string>();
}

PendingState StateOf(const std::string& name) {
    for (const PendingState state : {PendingState::Confirmed, PendingState::Refuted}) {
        if (name == NameOf(state)) {
            return state;
        }
    }
    return PendingState::Pending;
}

std::string ReasonOf(const PendingView& view) {
    switch (view.update.state) {
        case PendingState::Confirmed:
            return "confirmed by the adapter: nothing is pending any more";
        case PendingState::Refuted:
            return "the server has been rebooted, and this version does not operate";
        case PendingState::Pending:
            break;
    }
    if (!view.bootedSince && !view.nextBoot.empty()) {
        return "installed, but the next boot would load " + view.nextBoot;
    }
    return view.bootedSince ? "the server has been rebooted, but what operates cannot be read"
                            : "takes effect with the next reboot";
}

Json ViewJson(const PendingView& view) {
    return {{"kind", view.update.kind},
            {"version", view.update.version},
            {"previous", TextOrNull(view.update.previous)},
            {"operating", TextOrNull(view.operating)},
            {"next_boot", TextOrNull(view.nextBoot)},
            {"device_ids", view.update.deviceIds},
            {"boot", view.bootedSince ? "changed" : "same"},
            {"state", NameOf(view.update.state)},
            {"reason", ReasonOf(view)}};
}

const char* ColourOf(PendingState state) {
    return state == PendingState::Confirmed ? green : state == PendingState::Refuted ? red : yellow;
}

Row ViewRow(const PendingView& view) {
    std::string ports;
    for (const std::string& deviceId : view.update.deviceIds) {
        ports += (ports.empty() ? "ports: " : ", ") + deviceId;
    }
    return {{{CellText(view.update.kind)},
             {CellText(view.update.version)},
             {VersionCellText(view.update.previous)},
             {VersionCellText(view.operating)},
             {view.bootedSince ? "changed" : "same"},
             {std::string(NameOf(view.update.state)), ColourOf(view.update.state)}},
            {ReasonOf(view), ports}};
}

}  // namespace

Json PendingToJson(const std::vector<PendingView>& views) {
    Json json = Json::array();
    for (const PendingView& view : views) {
        json.push_back(ViewJson(view));
    }
    return json;
}

std::vector<PendingView> PendingFromJson(const nlohmann::json& json) {
    std::vector<PendingView> views;
    for (const auto& value : json) {
        PendingView& view = views.emplace_back();
        view.update.kind = TextOf(value, "kind");
        view.update.version = TextOf(value, "version");
        view.update.previous = TextOf(value, "previous");
        view.update.deviceIds = value.at("device_ids").get<std::vector<std::string>>();
        view.update.state = StateOf(TextOf(value, "state"));
        view.operating = TextOf(value, "operating");
        view.nextBoot = TextOf(value, "next_boot");
        view.bootedSince = TextOf(value, "boot") == "changed";
    }
    return views;
}

std::string PendingToText(const std::vector<PendingView>& views, const TableStyle& style) {
    if (views.empty()) {
        return "nothing is pending: no installed update waits for a reboot\n";
    }
    Table table = {{"KIND", "VERSION", "PREVIOUS", "OPERATES", "BOOT", "STATE"}, {}};
    for (const PendingView& view : views) {
        table.rows.push_back(ViewRow(view));
    }
    return Format(table, style);
}

}  // namespace qdmctl
