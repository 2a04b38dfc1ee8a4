#pragma once

#include "host/CDependencyInfo.h"
#include "host/CLinkApplicationInfo.h"
#include "host/CManageModuleInfo.h"
#include "host/CManageRepositoryInfo.h"
#include "host/CNecessaryComponentInfo.h"

#include <list>
#include <string>
#include <utility>

class CDriver;
class CFirmware;
class CModuleManager;
class CUtility;
class IWbemServices;

/// Base of all vendor objects: one device, with the update modules that a provider links to it.
///
/// The object owns its modules. A module kind is "util", "firm" or "driver"; the Execute operations
/// run one step of the update cycle on every linked module of a kind, 0 for success and 1 for
/// failure or when no such module is linked. The order of the virtual operations is part of the
/// contract.
class CVendor {
public:
    enum UPDATE_ORDER : int {
        UPDATE_ORDER_FIRST = 0,
        UPDATE_ORDER_SECOND = 1,
        UPDATE_ORDER_THIRD = 2
    };

    virtual ~CVendor();

    virtual std::string GetHardwareVersion() = 0;
    virtual int CheckHardwareVersion(std::string, std::string) = 0;
    virtual void LinkDevice() = 0;
    virtual int ExecVendorMethod(std::string method, ...);
    virtual void GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) = 0;
    virtual void GetLinkApplicationInfo(std::list<CLinkApplicationInfo>* applications);
    virtual std::string GetUpdateOrderModuleKind(CVendor::UPDATE_ORDER order, bool) = 0;
    virtual int CheckUpdateModuleRegistration(CManageModuleInfo module);
    virtual int ConfirmUpdateModuleRegistration(std::string moduleKind, std::string archive,
                                                std::string version);
    virtual int ExecuteUpdateBackup(std::string moduleKind, std::string folder, bool flag);
    virtual int ExecutePreUpdate(std::string moduleKind, bool flag);
    virtual int ExecuteUpdate(std::string moduleKind, bool flag);
    virtual int ExecuteUpdateRestore(std::string moduleKind, std::string folder);
    /// True when the update of a module of that kind did not take effect, or when none is linked.
    virtual bool ExecuteUpdateApplyCheck(std::string moduleKind);
    virtual int CheckDependentInfo(CDependencyInfo dependency, bool, bool);
    virtual int CheckUpdateCondition(std::string moduleKind, bool, bool);
    virtual std::string GetDeviceInfo();
    virtual void SetUpdatePriority(int priority, std::string moduleKind);
    /// Registers the object under a vendor class of a provider library.
    virtual void SetOwnerProvider(std::string providerLibrary, std::string vendorClass);
    virtual void SetIWbemServices(IWbemServices* services);
    virtual std::string GetHardwareVersionCache();
    virtual bool IsUpdateFailure();
    virtual std::string GetLatestUpdateDate(std::string moduleKind);
    virtual std::string GetPrevVendorVersion(std::string moduleKind);
    virtual void SetDependencyInfo(CManageModuleInfo module);
    virtual void SetLatestUpdateDate(std::string moduleKind, std::string date);
    virtual void SetPrevVendorVersion(std::string moduleKind, std::string version);
    virtual void ClearUpdateStatus(std::string moduleKind, bool);
    virtual int StartOutputDeviceConfigInfo(std::string folder, void*) = 0;
    virtual int ExecOutputDeviceConfigInfo(std::string folder, void*) = 0;
    virtual int EndOutputDeviceConfigInfo(std::string folder, void*) = 0;
    virtual void GetShortageOfNecessaryApplicationInfo(
        std::list<CNecessaryComponentInfo>& missing) = 0;
    /// 0 when an update of that kind may go ahead, 1 when not.
    virtual int CheckUpdateConditionByDevicevendor(std::string moduleKind,
                                                   CManageRepositoryInfo* module) = 0;
    /// 0 when `module` is linked and the update module that brings `version` is registered with it
    /// and may be applied.
    virtual int CheckUpdateConditionByModule(std::string moduleKind, CModuleManager* module,
                                             std::string version, bool, bool);

    /// The vendor class under which the object is registered; before that the model's own.
    std::string GetVendorClassName();

    // For host programs.
    CDriver* GetDriverModule();
    CFirmware* GetFirmwareModule();
    std::list<CUtility*> GetUtilityModules();
    std::string GetModelKey();
    std::string GetDeviceId();

protected:
    explicit CVendor(std::string deviceId);
    CVendor(const CVendor&) = delete;
    CVendor& operator=(const CVendor&) = delete;

    CDriver* driverModule = nullptr;
    CFirmware* firmwareModule = nullptr;
    std::string deviceId;
    std::string modelKey;
    std::string vendorName;
    std::string vendorClassName;
    std::list<CUtility*> utilityModules;

private:
    std::list<CModuleManager*> ModulesOfKind(const std::string& moduleKind);

    std::string ownerLibrary;
    std::string registeredClassName;
    std::string hardwareVersionCache;
    bool hardwareVersionCached = false;
};
