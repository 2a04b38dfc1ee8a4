#include "qdmctl/AnswerFromJson.h"

#include "qdmctl/AnswerPending.h"
#include "qdmctl/AnswerRepair.h"
#include "qdmctl/JsonNumber.h"
#include "qdmctl/JsonText.h"

#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::json;

/// The identifier whose name stands in the text. Identifiers count up from 0 to `last`.
template <class Id>
Id IdOf(const Json& name, Id last) {
    for (int i = 0; i <= static_cast<int>(last); ++i) {
        if (name.get<std::string>() == NameOf(static_cast<Id>(i))) {
            return static_cast<Id>(i);
        }
    }
    throw Json::other_error::create(501, "unknown name", nullptr);
}

std::string TextOf(const Json& json, const char* key) {
    const auto found = json.find(key);
    return found == json.end() || found->is_null() ? std::string() : found->get<std::string>();
}

Component ComponentOf(const Json& json) {
    Component component;
    component.kind = TextOf(json, "kind");
    component.installed = TextOf(json, "installed");
    component.offered = TextOf(json, "offered");
    component.verdict = IdOf(json.at("verdict"), Verdict::None);
    if (!json.at("outcome").is_null()) {
        component.outcome = IdOf(json.at("outcome"), Outcome::NotAttempted);
    }
    component.reason = TextOf(json, "reason");
    return component;
}

Port PortOf(const Json& json) {
    Port port;
    port.deviceId = TextOf(json, "device_id");
    port.vendorClass = TextOf(json, "vendor_class");
    port.modelKey = TextOf(json, "model_key");
    port.reportedModelKey = TextOf(json, "reported_model_key");
    port.wwpn = TextOf(json, "wwpn");
    const Json& pci = json.at("pci");
    if (!pci.is_null()) {
        port.pci = PciLocation{WholeNumber<unsigned>(pci.at("bus")),
                               WholeNumber<unsigned>(pci.at("device")),
                               WholeNumber<unsigned>(pci.at("function"))};
    }
    const Json& versions = json.at("versions");
    port.versions = {TextOf(versions, "firmware"), TextOf(versions, "boot_bios"),
                     TextOf(versions, "driver"), TextOf(versions, "utility")};
    for (const Json& component : json.value("components", Json::array())) {
        port.components.push_back(ComponentOf(component));
    }
    return port;
}

Error ErrorOf(const Json& json) {
    Error error;
    error.id = IdOf(json.at("id"), ErrorId::Internal);
    error.message = TextOf(json, "message");
    error.hint = TextOf(json, "hint");
    error.deviceId = TextOf(json, "device_id");
    error.kind = TextOf(json, "kind");
    if (json.contains("last_error")) {
        error.lastError = WholeNumber<unsigned long>(json.at("last_error"));
    }
    error.messageId = TextOf(json, "message_id");
    return error;
}

Answer AnswerOf(const Json& json) {
    Answer answer;
    answer.schema = TextOf(json, "schema");
    answer.result = IdOf(json.at("result"), Result::Failed);
    answer.exitCode = WholeNumber<int>(json.at("exit_code"));
    for (const Json& port : json.at("ports")) {
        answer.ports.push_back(PortOf(port));
    }
    for (const Json& error : json.at("errors")) {
        answer.errors.push_back(ErrorOf(error));
    }
    if (json.contains("pending")) {
        answer.pending = PendingFromJson(json.at("pending"));
    }
    if (json.contains("repair")) {
        answer.repair = RepairFromJson(json.at("repair"));
    }
    if (json.contains("info")) {
        answer.info = InfoFromJson(json.at("info"));
    }
    if (json.contains("checks")) {
        answer.checks = ChecksFromJson(json.at("checks"));
    }
    if (json.contains("report")) {
        answer.report = ReportFromJson(json.at("report"));
    }
    if (json.contains("restored")) {
        answer.restored = RestoredFromJson(json.at("restored"));
    }
    return answer;
}

}  // namespace

std::optional<Answer> FromJson(const std::string& text) {
    const Json json = ParseOwnJson(text);
    try {
        return AnswerOf(json);
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

}  // namespace qdmctl
