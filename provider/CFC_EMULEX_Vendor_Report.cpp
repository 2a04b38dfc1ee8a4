#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CQdmXmlNode.h"
#include "host/CQdmXmlWrite.h"
#include "host/CStringUtil.h"
#include "host/CUtility.h"
#include "provider/CFC_EMULEX_Vendor.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/OperatorMessage.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_Firmware.h"
#include "provider/modules/OperatingVersion.h"

namespace {

using GeneralInfo = CFC_EMULEX_Vendor::GeneralInfo;
using VersionInfo = CFC_EMULEX_Vendor::VersionInfo;

constexpr const char* reportFile = "Emulex_FcConfigInfo.xml";

// Adds a copy of `attr`, which keeps what it holds for the next one.
void AddAttr(CQdmXmlNode& parent, CQdmXmlNode& attr, const char* name, const std::string& value) {
    attr.addAttribute("name", name);
    attr.addAttribute("value", value);
    parent.addChildNode(attr);
}

CQdmXmlNode GeneralElement(const GeneralInfo& info, CQdmXmlNode& attr) {
    CQdmXmlNode element("general-inf");
    AddAttr(element, attr, "PCI Bus/Dev/Func", info.busDevFunc);
    AddAttr(element, attr, "Vendor ID", info.vendorId);
    AddAttr(element, attr, "Device ID", info.deviceId);
    AddAttr(element, attr, "WWPN", info.wwpn);
    attr.clearAttribute();
    return element;
}

CQdmXmlNode VersionElement(const VersionInfo& info, CQdmXmlNode& attr) {
    CQdmXmlNode element("version-inf");
    AddAttr(element, attr, "Firmware Version", info.firmware);
    AddAttr(element, attr, "BootBios Version", info.bootBios);
    AddAttr(element, attr, "Driver Version", info.driver);
    attr.clearAttribute();
    CQdmXmlNode utility("utility");
    AddAttr(utility, attr, "Utility Name", info.utilityName);
    attr.clearAttribute();
    AddAttr(utility, attr, "Utility Version", info.utility);
    element.addChildNode(utility);
    return element;
}

template <class Record>
Record TakeFirst(std::list<Record>& records) {
    Record first = records.front();
    records.pop_front();
    return first;
}

CQdmXmlNode NextPort(std::list<GeneralInfo>& general, std::list<VersionInfo>& versions,
                     CQdmXmlNode& attr) {
    CQdmXmlNode port("port");
    if (general.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to get Generalinfo");
    } else {
        port.addChildNode(GeneralElement(TakeFirst(general), attr));
    }
    if (versions.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to get Versioninfo");
    } else {
        port.addChildNode(VersionElement(TakeFirst(versions), attr));
    }
    return port;
}

// A host may have linked a firmware module of other making.
std::string BootBiosVersion(CFirmware& firmware) {
    auto* fcFirmware = dynamic_cast<CFC_EMULEX_Firmware*>(&firmware);
    return fcFirmware == nullptr ? OperatingVersion::Abnormal : fcFirmware->GetBootBiosVersion();
}

std::string PciId(const std::string& id) {
    return "0x" + CStringUtil::StringToUpperCase(id);
}

}  // namespace

std::list<GeneralInfo> CFC_EMULEX_Vendor::stGenFC;
std::list<VersionInfo> CFC_EMULEX_Vendor::stVerFC;

int CFC_EMULEX_Vendor::StartOutputDeviceConfigInfo(std::string, void*) {
    const TraceScope trace("CFC_EMULEX_Vendor::StartOutputDeviceConfigInfo");
    std::string ocmPath;
    if (CEmulexCommon::GetOCMManagerInstallPath(&ocmPath) != 0) {
        return 0;
    }
    OperatorMessage::ToolMissingForReport(OperatorMessage::VendorWord, "FC");
    CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                              "CFC_EMULEX_Vendor::StartOutputDeviceConfigInfo() "
                              "CEmulexCommon::GetOCMManagerInstallPath is return false.");
    return 1;
}

int CFC_EMULEX_Vendor::ExecOutputDeviceConfigInfo(std::string, void*) {
    const TraceScope trace("CFC_EMULEX_Vendor::ExecOutputDeviceConfigInfo");
    VersionInfo versions;
    versions.driver = driverModule->GetOperatingVersionCache();
    versions.bootBios = BootBiosVersion(*firmwareModule);
    versions.firmware = firmwareModule->GetOperatingVersionCache();
    versions.utilityName = "OCM";
    if (CUtility* utility = OcmModule()) {
        versions.utility = utility->GetOperatingVersionCache();
    }

    std::string vendorId, pciDeviceId;
    CStringUtil::GetVenIdDevIdformDeviceId(deviceId, vendorId, pciDeviceId);
    stGenFC.push_back(
        {GetBusDevFunc(), PciId(vendorId), PciId(pciDeviceId), GetWWPNEditedforDisplay()});
    stVerFC.push_back(versions);
    return 0;
}

int CFC_EMULEX_Vendor::EndOutputDeviceConfigInfo(std::string folder, void*) {
    TraceScope trace("CFC_EMULEX_Vendor::EndOutputDeviceConfigInfo");
    CQdmXmlNode data("data");
    CQdmXmlNode attr("attr");
    while (!stGenFC.empty() || !stVerFC.empty()) {
        data.addChildNode(NextPort(stGenFC, stVerFC, attr));
    }
    if (CQdmXmlWrite().writeXML(folder + reportFile, data)) {
        return 0;
    }
    CEmulexCommon::SetLastError(ErrorCode::ReportNotWritten);
    OperatorMessage::WithLastError("MSGID_EMULEX_FC_0012_F", OperatorMessage::VendorWord);
    // The line of the phase before is relied on.
    trace.SetExit("CFC_EMULEX_Vendor::ExecOutputDeviceConfigInfo() [END]");
    return 1;
}

CUtility* CFC_EMULEX_Vendor::OcmModule() const {
    for (CUtility* utility : utilityModules) {
        if (utility->GetModuleName() == CEMULEX_OCM_Utility::ModuleName) {
            return utility;
        }
    }
    return nullptr;
}
