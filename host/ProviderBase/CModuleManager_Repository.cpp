#include <unistd.h>

#include "host/CModuleManager.h"
#include "host/ProviderBase/CycleNote.h"

int CModuleManager::CheckRegisterUpdateModule(CManageRepositoryInfo module) {
    if (module.version.empty() || module.archive.empty() ||
        access(module.archive.c_str(), R_OK) != 0) {
        return 1;
    }
    CDependencyInfo dependency;
    dependency.minimumVersion = dependencyInfo.version;
    return CheckDependentInfo(dependency, false, false);
}

int CModuleManager::RegistUpdateModule(std::string archive, std::string version) {
    if (archive.empty() || version.empty()) {
        return 1;
    }
    updateModuleInfo.kind = operatingModuleInfo.kind;
    updateModuleInfo.archive = std::move(archive);
    updateModuleInfo.version = std::move(version);
    repositoryApplied = false;
    return 0;
}

bool CModuleManager::HasUpdateModule() {
    return !updateModuleInfo.archive.empty();
}

int CModuleManager::ApplyUpdatesRepository() {
    if (!HasUpdateModule()) {
        return 1;
    }
    if (!repositoryApplied) {
        oldOperatingModuleInfo = operatingModuleInfo;
        operatingModuleInfo = updateModuleInfo;
        repositoryApplied = true;
    }
    return 0;
}

int CModuleManager::RollbackRepository() {
    if (repositoryApplied) {
        operatingModuleInfo = oldOperatingModuleInfo;
        repositoryApplied = false;
    }
    return 0;
}

int CModuleManager::LoadRepository(std::string folder) {
    const auto note = CycleNote::Read(RecordFile(folder));
    if (!note || note->kind != operatingModuleInfo.kind) {
        return 1;
    }
    return RegistUpdateModule(note->archive, note->version);
}

/// The note of this module's cycle; empty where there can be none.
std::string CModuleManager::RecordFile(const std::string& folder) {
    const std::string name = operatingModuleInfo.kind + "_" + moduleName + "_" + deviceId;
    const bool usable = !folder.empty() && name.find('/') == std::string::npos;
    return usable ? folder + "/" + name + ".cycle" : "";
}
