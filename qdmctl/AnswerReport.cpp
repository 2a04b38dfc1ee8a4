#include "qdmctl/AnswerReport.h"

#include "qdmctl/Answer.h"

#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

struct Field {
    const char* key;
    std::string ReportedPort::*target;
};

constexpr Field fields[] = {
    {"location", &ReportedPort::location},  {"vendor_id", &ReportedPort::vendorId},
    {"device_id", &ReportedPort::deviceId}, {"wwpn", &ReportedPort::wwpn},
    {"firmware", &ReportedPort::firmware},  {"boot_bios", &ReportedPort::bootBios},
    {"driver", &ReportedPort::driver},      {"utility_name", &ReportedPort::utilityName},
    {"utility", &ReportedPort::utility},
};

}  // namespace

nlohmann::ordered_json ReportToJson(const WrittenReport& report) {
    nlohmann::ordered_json json = {{"document", report.document},
                                   {"data", report.data},
                                   {"replaced", report.replaced},
                                   {"ports", nlohmann::ordered_json::array()}};
    for (const ReportedPort& port : report.ports) {
        nlohmann::ordered_json& one = json["ports"].emplace_back();
        for (const Field& field : fields) {
            const std::string& value = port.*field.target;
            one[field.key] = IsUnreadable(value) ? nlohmann::ordered_json(nullptr)
                                                 : nlohmann::ordered_json(value);
        }
    }
    return json;
}

WrittenReport ReportFromJson(const nlohmann::json& json) {
    WrittenReport report;
    json.at("document").get_to(report.document);
    json.at("data").get_to(report.data);
    json.at("replaced").get_to(report.replaced);
    for (const nlohmann::json& one : json.at("ports")) {
        ReportedPort& port = report.ports.emplace_back();
        for (const Field& field : fields) {
            const nlohmann::json& value = one.at(field.key);
            port.*field.target = value.is_null() ? std::string() : value.get<std::string>();
        }
    }
    return report;
}

std::string ReportToText(const WrittenReport& report, const TableStyle& style) {
    const std::string what = report.replaced ? " (in place of an earlier one)" : "";
    return Indented("report written: ", report.document + what, UsableWidth(style)) +
           Indented("the same as JSON: ", report.data, UsableWidth(style));
}

}  // namespace qdmctl
