#include "qdmctl/ConfigReport.h"

#include "host/CVendor.h"
#include "qdmctl/FileAccess.h"

#include <unistd.h>
#include <pugixml.hpp>

namespace qdmctl {
namespace {

constexpr std::size_t longestDocument = 16U << 20U;

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

/// The provider's result of the last phase; 0 when the document was written.
int RunPhases(const std::vector<CVendor*>& vendors, const std::string& folder) {
    const int begun = vendors.front()->StartOutputDeviceConfigInfo(folder, nullptr);
    if (begun != 0) {
        return begun;
    }
    for (CVendor* vendor : vendors) {
        vendor->ExecOutputDeviceConfigInfo(folder, nullptr);
    }
    return vendors.front()->EndOutputDeviceConfigInfo(folder, nullptr);
}

std::string TakeDocument(const std::string& folder) {
    PlainFile file = OpenPlainFile(folder, reportFile);
    std::string document = file.refusal.empty() ? ReadWhole(file, longestDocument) : std::string();
    ::unlink((folder + "/" + reportFile).c_str());
    return document;
}

}  // namespace

CollectedReport CollectReport(const std::vector<CVendor*>& vendors, const std::string& folder) {
    if (vendors.empty() || RunPhases(vendors, folder + "/") != 0) {
        return {};
    }
    CollectedReport report{TakeDocument(folder), {}};
    pugi::xml_document document;
    if (document.load_buffer(report.document.data(), report.document.size())) {
        for (const pugi::xml_node& node : document.child("data").children("port")) {
            report.ports.push_back(FromNode(node));
        }
    }
    return report;
}

}  // namespace qdmctl
