#pragma once

#include "qdmctl/TableText.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>
#include <vector>

namespace qdmctl {

/// What there is to tell of one port beside what every answer tells of it.
struct PortInfo {
    std::string vendorId;  ///< four hexadecimal digits each
    std::string deviceId;
    std::string subsystemVendor;
    std::string subsystemDevice;
    std::string vendorFamily;              ///< the class under which the port is registered
    std::string kernelModule;              ///< name of the driver's
    std::string driverOnDisk;              ///< version; empty: could not be read
    std::vector<std::string> updateOrder;  ///< kinds of update modules, as the vendor orders them
    std::vector<std::pair<std::string, std::string>>
        extended;  ///< names and values of the provider
};

struct Port;

[[nodiscard]] nlohmann::ordered_json InfoToJson(const PortInfo& info);

/// Throws nlohmann::json::exception for another form.
[[nodiscard]] PortInfo InfoFromJson(const nlohmann::json& json);

/// With what the answer tells of the port itself.
[[nodiscard]] std::string InfoToText(const PortInfo& info, const Port& port,
                                     const TableStyle& style);

}  // namespace qdmctl
