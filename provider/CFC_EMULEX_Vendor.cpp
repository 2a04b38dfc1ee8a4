#include "provider/CFC_EMULEX_Vendor.h"

#include "host/CCommon_Information.h"
#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/FileAge.h"
#include "provider/common/OperatorMessage.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_Driver.h"
#include "provider/modules/CFC_EMULEX_Firmware.h"

#include <map>
#include <optional>

namespace {

constexpr long listLifetimeSeconds = 3600;

// A list from the future is not trusted: the clock has been set back since it was written.
bool IsFresh(std::optional<long> age) {
    if (!age) {
        return false;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "listhbas file elapse time [%d] sec",
                              static_cast<int>(*age));
    return *age >= 0 && *age < listLifetimeSeconds;
}

bool Exists(const void* module, const std::string& operation, const char* className) {
    if (module == nullptr) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "%s %s instance is NULL.",
                                  operation.c_str(), className);
    }
    return module != nullptr;
}

}  // namespace

const std::string CFC_EMULEX_Vendor::className = "CFC_EMULEX_Vendor";

CFC_EMULEX_Vendor::CFC_EMULEX_Vendor(std::string deviceId) : CVendorEx(deviceId) {
    const TraceScope trace("CFC_EMULEX_Vendor::CFC_EMULEX_Vendor");
    vendorName = "emulex";
    if (CEmulexCommon::CreateLocalDirectory() == 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to create directory");
    }
}

CFC_EMULEX_Vendor::~CFC_EMULEX_Vendor() {
    const TraceScope trace("CFC_EMULEX_Vendor::~CFC_EMULEX_Vendor");
}

std::string CFC_EMULEX_Vendor::GetHardwareVersion() {
    // The odd spelling is relied on.
    const TraceScope trace("CFC_EMULEX_Vendor::GetHardwareVersione");
    return "";
}

int CFC_EMULEX_Vendor::CheckHardwareVersion(std::string, std::string) {
    const TraceScope trace("CFC_EMULEX_Vendor::CheckHardwareVersion");
    GetWWPNOriginal();
    return 0;
}

void CFC_EMULEX_Vendor::GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) {
    const TraceScope trace("CFC_EMULEX_Vendor::GetExtendedInfo");
    if (info == nullptr) {
        // The other class's name is relied on.
        CTraceUtility::WriteDebug(
            Trace::File, Trace::Error,
            "CCNA_EMULEX_Vendor::GetExtendedInfo() Parameter ExtendedInfoList is NULL.");
        return;
    }
    info->clear();
    info->emplace_back("WWPN", GetWWPNEditedforDisplay());
    info->emplace_back("Bus/Dev/Func", GetBusDevFunc());
}

std::string CFC_EMULEX_Vendor::GetUpdateOrderModuleKind(CVendor::UPDATE_ORDER order, bool) {
    const TraceScope trace("CFC_EMULEX_Vendor::GetUpdateOrderModuleKind");
    switch (order) {
        case UPDATE_ORDER_FIRST:
            return "util";
        case UPDATE_ORDER_SECOND:
            return "firm";
        case UPDATE_ORDER_THIRD:
            return "driver";
    }
    return "";
}

void CFC_EMULEX_Vendor::GetShortageOfNecessaryApplicationInfo(
    std::list<CNecessaryComponentInfo>& missing) {
    const TraceScope trace("CFC_EMULEX_Vendor::GetShortageOfNecessaryApplicationInfo");
    std::string ocmPath;
    if (CEmulexCommon::GetOCMManagerInstallPath(&ocmPath) == 0) {
        CNecessaryComponentInfo utility;
        utility.name = OperatorMessage::UtilityName;
        missing.push_back(utility);
    }
}

int CFC_EMULEX_Vendor::CheckUpdateConditionByDevicevendor(std::string moduleKind,
                                                          CManageRepositoryInfo*) {
    const TraceScope trace("CFC_EMULEX_Vendor::CheckUpdateConditionByDevicevendor");
    if (moduleKind != "util") {
        return 0;
    }
    // A utility module of other making has a configuration of its own.
    auto* utility = dynamic_cast<CEMULEX_OCM_Utility*>(OcmModule());
    if (utility == nullptr || utility->OCMInstallCheck()) {
        return 0;
    }
    OperatorMessage::WithLastError("MSGID_EMULEX_FC_0010_F", OperatorMessage::VendorWord);
    return 1;
}

std::string CFC_EMULEX_Vendor::GetWWPNOriginal() {
    if (!wwpn.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Flow,
                                  "CFC_EMULEX_Vendor::GetWWPNOriginal() [%s] [%s]",
                                  deviceId.c_str(), wwpn.c_str());
        return wwpn;
    }
    TraceScope trace("CFC_EMULEX_Vendor::GetWWPNOriginal");
    if (!RefreshAdapterList()) {
        // The constructor's line is relied on.
        trace.SetExit("CFC_EMULEX_Vendor::CFC_EMULEX_Vendor() [END]");
        return "";
    }
    FindWwpn();
    if (wwpn.empty()) {
        // The next look-up shall start from a new list.
        CCommon_Information::RetryDeleteFile(WorkArea::AdapterList());
    } else {
        TellModules();
    }
    return wwpn;
}

// False only when the list is due and there is no tool to write it.
bool CFC_EMULEX_Vendor::RefreshAdapterList() {
    if (IsFresh(FileAge(WorkArea::AdapterList()))) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Skip update listHbas File %s",
                                  deviceId.c_str());
        return true;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Update listHbas File %s",
                              deviceId.c_str());
    std::string ocmPath;
    if (CEmulexCommon::GetOCMManagerInstallPath(&ocmPath) == 0) {
        OperatorMessage::ToolMissing(OperatorMessage::VendorWord, "FC");
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to get OCM Path");
        return false;
    }
    CEmulexCommon::ExecListhbasCommand(ocmPath);
    return true;
}

void CFC_EMULEX_Vendor::FindWwpn() {
    std::map<std::string, std::string> attributes;
    if (!CEmulexCommon::GetHBAInfo(deviceId, &attributes)) {
        OperatorMessage::WithLastError("MSGID_EMULEX_FC_0001_F", OperatorMessage::VendorWord);
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to get HBA Info");
        return;
    }
    wwpn = attributes["Port WWN"];
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "CFC_EMULEX_Vendor WWNP[%s]", wwpn.c_str());
}

// A host may link modules of other making; those have no use for the WWPN.
void CFC_EMULEX_Vendor::TellModules() {
    if (auto* firmware = dynamic_cast<CEMULEX_Firmware*>(firmwareModule)) {
        firmware->SetWWPNorMac(wwpn);
    }
    if (auto* driver = dynamic_cast<CEMULEX_Driver*>(driverModule)) {
        driver->SetWWPNorMac(wwpn);
    }
}

std::string CFC_EMULEX_Vendor::GetWWPNEditedforDisplay() {
    const TraceScope trace("CFC_EMULEX_Vendor::GetWWPNEditedforDisplay");
    std::string display = CStringUtil::StringToUpperCase(wwpn);
    CStringUtil::strReplace(display, ":", "");
    return display;
}

std::string CFC_EMULEX_Vendor::GetBusDevFunc() {
    const TraceScope trace("CFC_EMULEX_Vendor::GetBusDevFunc");
    if (bus.empty()) {
        FindLocation();
    }
    std::string location = bus.empty() ? "-/-/-" : bus + "/" + device + "/" + function;
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "GetBusDevFunc() Bus/Dev/Func[%s]",
                              location.c_str());
    return location;
}

void CFC_EMULEX_Vendor::FindLocation() {
    int busNumber = 0, deviceNumber = 0, functionNumber = 0;
    if (!CCommon_Information::GetPCIInfo(deviceId, &busNumber, &deviceNumber, &functionNumber,
                                         Trace::File)) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "GetBusDevFunc() Bus/Dev/Func not infomation.");
        return;
    }
    bus = CStringUtil::NumberToTString(busNumber);
    device = CStringUtil::NumberToTString(deviceNumber);
    function = CStringUtil::NumberToTString(functionNumber);
}

void CFC_EMULEX_Vendor::LinkModules(CFirmware* firmware, const char* firmwareClass,
                                    const std::string& operation) {
    // Modules linked before are replaced and left to whoever still uses them.
    firmwareModule = firmware;
    Exists(firmwareModule, operation, firmwareClass);

    // Null first: a WWPN found only now must not go to a driver module of before.
    driverModule = nullptr;
    driverModule = new CFC_EMULEX_Driver(deviceId, "", GetWWPNOriginal());
    Exists(driverModule, operation, "CFC_EMULEX_Driver");

    utilityModules.clear();
    std::string ocmPath;
    if (CEmulexCommon::GetOCMManagerInstallPath(&ocmPath) == 0) {
        OperatorMessage::ToolMissing(OperatorMessage::VendorWord, "FC");
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "%s CEmulexCommon::GetOCMManagerInstallPath is return false.",
                                  operation.c_str());
        return;
    }
    auto* utility = new CEMULEX_OCM_Utility(deviceId);
    if (Exists(utility, operation, "CEMULEX_OCM_Utility")) {
        utilityModules.push_back(utility);
    }
}
