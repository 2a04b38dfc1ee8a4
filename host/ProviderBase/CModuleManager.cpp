#include "host/CModuleManager.h"

#include "host/ProviderBase/Unreadable.h"

CModuleManager::CModuleManager(std::string deviceId, std::string moduleName)
    : deviceId(std::move(deviceId)), moduleName(std::move(moduleName)) {}

CModuleManager::~CModuleManager() = default;

std::string CModuleManager::GetModuleName() {
    return moduleName;
}

void CModuleManager::SetUniqueName(std::string name) {
    uniqueName = std::move(name);
}

CManageModuleInfo CModuleManager::GetManageModuleInfo() {
    CManageModuleInfo info;
    info.moduleKind = operatingModuleInfo.kind;
    info.moduleName = moduleName;
    info.repository = updateModuleInfo;
    return info;
}

CManageRepositoryInfo CModuleManager::GetOldOperatingModuleInfo() {
    return oldOperatingModuleInfo;
}

CManageRepositoryInfo CModuleManager::GetOperatingModuleInfo() {
    return operatingModuleInfo;
}

CManageRepositoryInfo CModuleManager::GetUpdateModuleInfo() {
    return updateModuleInfo;
}

int CModuleManager::GetUpdatePriority() {
    return updatePriority;
}

void CModuleManager::SetUpdatePriority(int priority) {
    updatePriority = priority;
}

void CModuleManager::InitializeOperatingModuleInfo(std::string version) {
    operatingModuleInfo.version = std::move(version);
    operatingModuleInfo.archive.clear();
    updateModuleInfo = {};
    repositoryApplied = false;
}

void CModuleManager::SetDependencyInfo(CManageRepositoryInfo module) {
    dependencyInfo = std::move(module);
}

int CModuleManager::CheckDependentInfo(CDependencyInfo dependency, bool, bool) {
    if (dependency.minimumVersion.empty()) {
        return 0;
    }
    const std::string operating = GetOperatingVersionCache();
    const bool met = operating != kUnreadableVersion &&
                     CheckVendorVersion(operating, dependency.minimumVersion) <= 0;
    return met ? 0 : 1;
}

int CModuleManager::GetUpdateStatus() {
    return updateStatus;
}

void CModuleManager::SetUpdateStatus(int status) {
    updateStatus = status;
}

int CModuleManager::GetUpdateProgress() {
    return updateProgress;
}

void CModuleManager::SetUpdateProgress(int progress) {
    updateProgress = progress;
    DropVersionCache();
}

std::string CModuleManager::GetLatestUpdateDate() {
    return latestUpdateDate;
}

void CModuleManager::SetLatestUpdateDate(std::string date) {
    latestUpdateDate = std::move(date);
}

std::string CModuleManager::GetPrevVendorVersion() {
    return prevVendorVersion;
}

void CModuleManager::SetPrevVendorVersion(std::string version) {
    prevVendorVersion = std::move(version);
}

std::string CModuleManager::GetOperatingVersionCache() {
    if (!operatingVersionCached) {
        operatingVersionCache = GetOperatingVersion();
        operatingVersionCached = true;
    }
    return operatingVersionCache;
}

void CModuleManager::DropVersionCache() {
    operatingVersionCache.clear();
    operatingVersionCached = false;
}
