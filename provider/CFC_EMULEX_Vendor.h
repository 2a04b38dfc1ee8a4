#pragma once

#include "host/CVendorEx.h"

#include <list>
#include <string>
#include <utility>

/// One Fibre Channel adapter port: what the three adapter models have in common.
///
/// The port's WWPN and PCI location are looked up on first need and kept. Failures are reported to
/// the operator and left in the last error; nothing is thrown.
class CFC_EMULEX_Vendor : public CVendorEx {
public:
    /// One port's part of the configuration report, in the report's order.
    struct GeneralInfo {
        std::string busDevFunc, vendorId, deviceId, wwpn;
    };
    struct VersionInfo {
        std::string firmware, bootBios, driver, utilityName, utility;
    };

    static const std::string className;

    // Filled by ExecOutputDeviceConfigInfo of any port, emptied by EndOutputDeviceConfigInfo.
    static std::list<GeneralInfo> stGenFC;
    static std::list<VersionInfo> stVerFC;

    explicit CFC_EMULEX_Vendor(std::string deviceId);
    ~CFC_EMULEX_Vendor() override;

    /// Always empty: these adapters have none.
    std::string GetHardwareVersion() override;

    /// Always 0. Looks up the WWPN on the way, which the modules get to know by it.
    int CheckHardwareVersion(std::string, std::string) override;

    void GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) override;
    std::string GetUpdateOrderModuleKind(CVendor::UPDATE_ORDER order, bool) override;

    /// The report on all ports: start once (1 when the adapter tool is missing), exec on every
    /// linked port, end once, which writes "Emulex_FcConfigInfo.xml" into `folder`. The name of the
    /// folder ends in "/".
    int StartOutputDeviceConfigInfo(std::string, void*) override;
    int ExecOutputDeviceConfigInfo(std::string, void*) override;
    int EndOutputDeviceConfigInfo(std::string folder, void*) override;

    /// Appends to `missing`.
    void GetShortageOfNecessaryApplicationInfo(
        std::list<CNecessaryComponentInfo>& missing) override;

    /// 0 when a module of this kind may be updated. Only the utility has a condition: see
    /// CEMULEX_OCM_Utility::OCMInstallCheck.
    int CheckUpdateConditionByDevicevendor(std::string moduleKind, CManageRepositoryInfo*) override;

    /// The WWPN as the adapter list writes it; empty when it cannot be found. Refreshes an adapter
    /// list that is an hour old, and hands a WWPN found to the linked firmware and driver modules.
    virtual std::string GetWWPNOriginal();

    /// The WWPN known by now in upper case without separators; looks nothing up.
    virtual std::string GetWWPNEditedforDisplay();

    /// "bus/device/function", "-/-/-" when the PCI location is unknown.
    std::string GetBusDevFunc();

protected:
    /// Links the firmware module given and the driver and utility modules. `operation` stands in
    /// front of failure lines.
    void LinkModules(CFirmware* firmware, const char* firmwareClass, const std::string& operation);

    std::string wwpn;
    std::string bus, device, function;  ///< decimal; filled together

private:
    bool RefreshAdapterList();
    void FindWwpn();
    void FindLocation();
    void TellModules();
    CUtility* OcmModule() const;
};
