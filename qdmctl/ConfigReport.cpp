#include "qdmctl/ConfigReport.h"

#include "host/CVendor.h"

#include <pugixml.hpp>

namespace qdmctl {
namespace {

std::string Attribute(const pugi::xml_node& group, const char* name) {
    return group.find_child_by_attribute("attr", "name", name).attribute("value").value();
}

ReportedPort FromNode(const pugi::xml_node& node) {
    const pugi::xml_node general = node.child("general-inf");
    const pugi::xml_node versions = node.child("version-inf");
    const pugi::xml_node utility = versions.child("utility");
    ReportedPort port;
    port.location = Attribute(general, "PCI Bus/Dev/Func");
    port.vendorId = Attribute(general, "Vendor ID");
    port.deviceId = Attribute(general, "Device ID");
    port.wwpn = Attribute(general, "WWPN");
    port.firmware = Attribute(versions, "Firmware Version");
    port.bootBios = Attribute(versions, "BootBios Version");
    port.driver = Attribute(versions, "Driver Version");
    port.utilityName = Attribute(utility, "Utility Name");
    port.utility = Attribute(utility, "Utility Version");
    return port;
}

}  // namespace

std::vector<ReportedPort> CollectReport(const std::vector<CVendor*>& vendors,
                                        const std::string& folder) {
    if (vendors.empty() || vendors.front()->StartOutputDeviceConfigInfo(folder, nullptr) != 0) {
        return {};
    }
    for (CVendor* vendor : vendors) {
        vendor->ExecOutputDeviceConfigInfo(folder, nullptr);
    }
    pugi::xml_document document;
    if (vendors.front()->EndOutputDeviceConfigInfo(folder, nullptr) != 0 ||
        !document.load_file((folder + reportFile).c_str())) {
        return {};
    }
    std::vector<ReportedPort> ports;
    for (const pugi::xml_node& node : document.child("data").children("port")) {
        ports.push_back(FromNode(node));
    }
    return ports;
}

}  // namespace qdmctl
