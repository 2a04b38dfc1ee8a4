#include "host/CVendor.h"

#include <algorithm>

#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"

namespace {

constexpr int kUpdateFailed = 3;

/// Runs a step on every module, also behind one that failed: their results are the modules' own.
template <typename Action>
int ForAll(const std::list<CModuleManager*>& modules, Action action) {
    int result = modules.empty() ? 1 : 0;
    for (CModuleManager* module : modules) {
        if (action(*module) != 0) {
            result = 1;
        }
    }
    return result;
}

}  // namespace

CVendor::CVendor(std::string deviceId) : deviceId(std::move(deviceId)) {}

CVendor::~CVendor() {
    for (CUtility* module : utilityModules) {
        delete module;
    }
    delete firmwareModule;
    delete driverModule;
}

std::list<CModuleManager*> CVendor::ModulesOfKind(const std::string& moduleKind) {
    std::list<CModuleManager*> modules;
    if (moduleKind == "util") {
        modules.assign(utilityModules.begin(), utilityModules.end());
    } else if (moduleKind == "firm") {
        modules.push_back(firmwareModule);
    } else if (moduleKind == "driver") {
        modules.push_back(driverModule);
    }
    modules.remove(nullptr);
    return modules;
}

int CVendor::ExecVendorMethod(std::string, ...) {
    return 1;
}

void CVendor::GetLinkApplicationInfo(std::list<CLinkApplicationInfo>* applications) {
    if (applications == nullptr) {
        return;
    }
    applications->clear();
    for (CModuleManager* module : ModulesOfKind("util")) {
        CLinkApplicationInfo application;
        application.name = module->GetModuleName();
        application.version = module->GetOperatingVersionCache();
        applications->push_back(application);
    }
}

int CVendor::CheckUpdateModuleRegistration(CManageModuleInfo module) {
    auto modules = ModulesOfKind(module.moduleKind);
    modules.remove_if([&](CModuleManager* linked) {
        return !module.moduleName.empty() && linked->GetModuleName() != module.moduleName;
    });
    return ForAll(modules, [&](CModuleManager& linked) {
        return linked.CheckRegisterUpdateModule(module.repository);
    });
}

int CVendor::ConfirmUpdateModuleRegistration(std::string moduleKind, std::string archive,
                                             std::string version) {
    return ForAll(ModulesOfKind(moduleKind), [&](CModuleManager& module) {
        return module.RegistUpdateModule(archive, version);
    });
}

int CVendor::ExecuteUpdateBackup(std::string moduleKind, std::string folder, bool flag) {
    return ForAll(ModulesOfKind(moduleKind),
                  [&](CModuleManager& module) { return module.ExecuteUpdateBackup(folder, flag); });
}

int CVendor::ExecutePreUpdate(std::string moduleKind, bool flag) {
    return ForAll(ModulesOfKind(moduleKind),
                  [&](CModuleManager& module) { return module.ExecutePreUpdate(flag); });
}

int CVendor::ExecuteUpdate(std::string moduleKind, bool flag) {
    return ForAll(ModulesOfKind(moduleKind),
                  [&](CModuleManager& module) { return module.ExecuteUpdate(flag); });
}

int CVendor::ExecuteUpdateRestore(std::string moduleKind, std::string folder) {
    return ForAll(ModulesOfKind(moduleKind),
                  [&](CModuleManager& module) { return module.ExecuteUpdateRestore(folder); });
}

bool CVendor::ExecuteUpdateApplyCheck(std::string moduleKind) {
    return ForAll(ModulesOfKind(moduleKind), [](CModuleManager& module) {
               return module.ExecuteUpdateApplyCheck() ? 1 : 0;
           }) != 0;
}

int CVendor::CheckDependentInfo(CDependencyInfo dependency, bool flag1, bool flag2) {
    auto modules = ModulesOfKind(dependency.moduleKind);
    modules.remove_if([&](CModuleManager* linked) {
        return !dependency.moduleName.empty() && linked->GetModuleName() != dependency.moduleName;
    });
    return ForAll(modules, [&](CModuleManager& module) {
        return module.CheckDependentInfo(dependency, flag1, flag2);
    });
}

int CVendor::CheckUpdateCondition(std::string moduleKind, bool flag1, bool flag2) {
    return ForAll(ModulesOfKind(moduleKind), [&](CModuleManager& module) {
        CManageRepositoryInfo update = module.GetUpdateModuleInfo();
        const int result = CheckUpdateConditionByDevicevendor(moduleKind, &update);
        return result != 0 ? result
                           : CheckUpdateConditionByModule(moduleKind, &module, update.version,
                                                          flag1, flag2);
    });
}

int CVendor::CheckUpdateConditionByModule(std::string moduleKind, CModuleManager* module,
                                          std::string version, bool, bool) {
    const auto modules = ModulesOfKind(moduleKind);
    if (std::find(modules.begin(), modules.end(), module) == modules.end() || module == nullptr) {
        return 1;
    }
    CManageRepositoryInfo update = module->GetUpdateModuleInfo();
    return update.version == version ? module->CheckRegisterUpdateModule(update) : 1;
}

std::string CVendor::GetDeviceInfo() {
    return vendorName + " " + modelKey + " " + deviceId;
}

void CVendor::SetUpdatePriority(int priority, std::string moduleKind) {
    for (CModuleManager* module : ModulesOfKind(moduleKind)) {
        module->SetUpdatePriority(priority);
    }
}

void CVendor::SetOwnerProvider(std::string providerLibrary, std::string vendorClass) {
    ownerLibrary = std::move(providerLibrary);
    registeredClassName = std::move(vendorClass);
}

// There is no such service on this platform.
void CVendor::SetIWbemServices(IWbemServices*) {}

std::string CVendor::GetHardwareVersionCache() {
    if (!hardwareVersionCached) {
        hardwareVersionCache = GetHardwareVersion();
        hardwareVersionCached = true;
    }
    return hardwareVersionCache;
}

bool CVendor::IsUpdateFailure() {
    std::list<CModuleManager*> modules;
    for (const char* kind : {"util", "firm", "driver"}) {
        modules.splice(modules.end(), ModulesOfKind(kind));
    }
    return std::any_of(modules.begin(), modules.end(), [](CModuleManager* module) {
        return module->GetUpdateStatus() == kUpdateFailed;
    });
}

std::string CVendor::GetLatestUpdateDate(std::string moduleKind) {
    const auto modules = ModulesOfKind(moduleKind);
    return modules.empty() ? "" : modules.front()->GetLatestUpdateDate();
}

std::string CVendor::GetPrevVendorVersion(std::string moduleKind) {
    const auto modules = ModulesOfKind(moduleKind);
    return modules.empty() ? "" : modules.front()->GetPrevVendorVersion();
}

void CVendor::SetDependencyInfo(CManageModuleInfo module) {
    for (CModuleManager* linked : ModulesOfKind(module.moduleKind)) {
        linked->SetDependencyInfo(module.repository);
    }
}

void CVendor::SetLatestUpdateDate(std::string moduleKind, std::string date) {
    for (CModuleManager* module : ModulesOfKind(moduleKind)) {
        module->SetLatestUpdateDate(date);
    }
}

void CVendor::SetPrevVendorVersion(std::string moduleKind, std::string version) {
    for (CModuleManager* module : ModulesOfKind(moduleKind)) {
        module->SetPrevVendorVersion(version);
    }
}

void CVendor::ClearUpdateStatus(std::string moduleKind, bool) {
    for (CModuleManager* module : ModulesOfKind(moduleKind)) {
        module->SetUpdateStatus(0);
        module->SetUpdateProgress(0);
    }
}

std::string CVendor::GetVendorClassName() {
    return registeredClassName.empty() ? vendorClassName : registeredClassName;
}

CDriver* CVendor::GetDriverModule() {
    return driverModule;
}

CFirmware* CVendor::GetFirmwareModule() {
    return firmwareModule;
}

std::list<CUtility*> CVendor::GetUtilityModules() {
    return utilityModules;
}

std::string CVendor::GetModelKey() {
    return modelKey;
}

std::string CVendor::GetDeviceId() {
    return deviceId;
}
