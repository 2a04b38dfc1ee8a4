#include "qdmctl/AnswerJson.h"

#include "qdmctl/AnswerPending.h"
#include "qdmctl/AnswerRepair.h"

#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

/// Keeps the keys in the order in which they are set: the answer is read by people, too.
using Json = nlohmann::ordered_json;

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json VersionJson(const std::string& version) {
    return IsUnreadable(version) ? Json(nullptr) : Json(version);
}

Json VersionsJson(const Versions& versions) {
    return {{"firmware", VersionJson(versions.firmware)},
            {"boot_bios", VersionJson(versions.bootBios)},
            {"driver", VersionJson(versions.driver)},
            {"utility", VersionJson(versions.utility)}};
}

Json PciJson(const std::optional<PciLocation>& pci) {
    if (!pci) {
        return nullptr;
    }
    return {{"bus", pci->bus}, {"device", pci->device}, {"function", pci->function}};
}

Json ComponentJson(const Component& component) {
    return {{"kind", component.kind},
            {"installed", VersionJson(component.installed)},
            {"offered", VersionJson(component.offered)},
            {"verdict", NameOf(component.verdict)},
            {"outcome", NameOf(OutcomeOf(component))},
            {"reason", component.reason}};
}

Json PortJson(const Port& port, bool hasComponents) {
    Json json = {{"device_id", port.deviceId},
                 {"vendor_class", port.vendorClass},
                 {"model_key", port.modelKey}};
    if (port.reportedModelKey != port.modelKey && !port.reportedModelKey.empty()) {
        json["reported_model_key"] = port.reportedModelKey;
    }
    json["wwpn"] = TextOrNull(port.wwpn);
    json["pci"] = PciJson(port.pci);
    json["versions"] = VersionsJson(port.versions);
    if (hasComponents) {
        json["components"] = Json::array();
        for (const Component& component : port.components) {
            json["components"].push_back(ComponentJson(component));
        }
    }
    return json;
}

Json ErrorJson(const Error& error) {
    Json json = {{"id", NameOf(error.id)}, {"message", error.message}, {"hint", error.hint}};
    if (!error.deviceId.empty()) {
        json["device_id"] = error.deviceId;
    }
    if (!error.kind.empty()) {
        json["kind"] = error.kind;
    }
    if (error.lastError) {
        json["last_error"] = *error.lastError;
    }
    if (!error.messageId.empty()) {
        json["message_id"] = error.messageId;
    }
    return json;
}

}  // namespace

std::string ToJson(const Answer& answer) {
    Json json = {{"schema", answer.schema},
                 {"result", NameOf(answer.result)},
                 {"exit_code", answer.exitCode},
                 {"ports", Json::array()},
                 {"errors", Json::array()}};
    for (const Port& port : answer.ports) {
        json["ports"].push_back(PortJson(port, answer.hasComponents));
    }
    for (const Error& error : answer.errors) {
        json["errors"].push_back(ErrorJson(error));
    }
    if (answer.pending) {
        json["pending"] = PendingToJson(*answer.pending);
    }
    if (answer.repair) {
        json["repair"] = RepairToJson(*answer.repair);
    }
    if (answer.info) {
        json["info"] = InfoToJson(*answer.info);
    }
    if (answer.checks) {
        json["checks"] = ChecksToJson(*answer.checks);
    }
    if (answer.report) {
        json["report"] = ReportToJson(*answer.report);
    }
    if (answer.restored) {
        json["restored"] = RestoredToJson(*answer.restored);
    }
    constexpr int indent = 2;
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace qdmctl
