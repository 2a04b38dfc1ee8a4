#pragma once

#include "qdmctl/TableText.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace qdmctl {

/// What the provider's configuration report tells of one port; "abnormal" and the empty text stand
/// for a version that could not be read.
struct ReportedPort {
    std::string location;  ///< "3/0/1"
    std::string vendorId;  ///< "0x10DF"
    std::string deviceId;
    std::string wwpn;
    std::string firmware;
    std::string bootBios;
    std::string driver;
    std::string utilityName;
    std::string utility;
};

/// A report that has been written: the provider's document and this answer beside it.
struct WrittenReport {
    std::string document;   ///< path of the provider's XML document
    std::string data;       ///< path of the same as JSON
    bool replaced = false;  ///< an earlier report stood there
    std::vector<ReportedPort> ports;
};

[[nodiscard]] nlohmann::ordered_json ReportToJson(const WrittenReport& report);

/// Throws nlohmann::json::exception for another form.
[[nodiscard]] WrittenReport ReportFromJson(const nlohmann::json& json);

[[nodiscard]] std::string ReportToText(const WrittenReport& report, const TableStyle& style);

}  // namespace qdmctl
