#include "qdmctl/AnswerInfo.h"

#include "qdmctl/Answer.h"

#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t labelWidth = 18;

struct Field {
    const char* key;
    std::string PortInfo::*target;
};

constexpr Field fields[] = {
    {"vendor_id", &PortInfo::vendorId},
    {"device_id", &PortInfo::deviceId},
    {"subsystem_vendor_id", &PortInfo::subsystemVendor},
    {"subsystem_device_id", &PortInfo::subsystemDevice},
    {"vendor_family", &PortInfo::vendorFamily},
    {"kernel_module", &PortInfo::kernelModule},
    {"driver_on_disk", &PortInfo::driverOnDisk},
};

std::string Known(const std::string& version) {
    return IsUnreadable(version) ? "-" : version;
}

std::string Line(const std::string& label, const std::string& value, const TableStyle& style) {
    const std::size_t blanks = labelWidth - std::min(labelWidth - 1, label.size());
    return Indented(label + std::string(blanks, ' '), value.empty() ? "-" : value,
                    UsableWidth(style));
}

std::string DriverText(const PortInfo& info, const Port& port) {
    return info.kernelModule + ": " + Known(port.versions.driver) + " loaded, " +
           Known(info.driverOnDisk) + " on disk";
}

std::string Listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

}  // namespace

Json InfoToJson(const PortInfo& info) {
    Json json;
    for (const Field& field : fields) {
        const std::string& value = info.*field.target;
        json[field.key] = value.empty() ? Json(nullptr) : Json(value);
    }
    json["update_order"] = info.updateOrder;
    json["extended"] = Json::array();
    for (const auto& [name, value] : info.extended) {
        json["extended"].push_back({{"name", name}, {"value", value}});
    }
    return json;
}

PortInfo InfoFromJson(const nlohmann::json& json) {
    PortInfo info;
    for (const Field& field : fields) {
        const nlohmann::json& value = json.at(field.key);
        info.*field.target = value.is_null() ? std::string() : value.get<std::string>();
    }
    json.at("update_order").get_to(info.updateOrder);
    for (const nlohmann::json& one : json.at("extended")) {
        info.extended.emplace_back(one.at("name"), one.at("value"));
    }
    return info;
}

std::string InfoToText(const PortInfo& info, const Port& port, const TableStyle& style) {
    const std::pair<const char*, std::string> lines[] = {
        {"device", port.deviceId},
        {"PCI address", port.deviceId.substr(0, port.deviceId.find('-'))},
        {"PCI identifiers", info.vendorId + ":" + info.deviceId + ", subsystem " +
                                info.subsystemVendor + ":" + info.subsystemDevice},
        {"WWPN", port.wwpn},
        {"model", port.modelKey},
        {"reported model", port.reportedModelKey == port.modelKey ? "" : port.reportedModelKey},
        {"vendor class", port.vendorClass + " (" + info.vendorFamily + ")"},
        {"firmware", Known(port.versions.firmware)},
        {"boot BIOS", Known(port.versions.bootBios)},
        {"driver", DriverText(info, port)},
        {"utility", Known(port.versions.utility)},
        {"update order", Listed(info.updateOrder)},
    };
    std::string text;
    for (const auto& [label, value] : lines) {
        const bool onlyWhereItDiffers = label == std::string("reported model");
        text += onlyWhereItDiffers && value.empty() ? "" : Line(label, value, style);
    }
    text += "as the provider tells it:\n";
    for (const auto& [name, value] : info.extended) {
        text += Line("  " + name, value, style);
    }
    return text;
}

}  // namespace qdmctl
