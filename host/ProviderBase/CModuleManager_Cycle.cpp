#include <ctime>
#include <utility>

#include "host/CModuleManager.h"
#include "host/ProviderBase/CycleNote.h"
#include "host/ProviderBase/Unreadable.h"

namespace {

enum Progress {
    kNoCycle = 0,
    kBackedUp = 10,
    kPreUpdateBegin = 25,
    kPreUpdateEnd = 49,
    kUpdateBegin = 50,
    kUpdateEnd = 84,
    kRestoreBegin = 85,
    kRestoreEnd = 90,
    kApplyCheck = 95,
    kDone = 100,
};

enum Status { kRunning = 1, kUpdated = 2, kFailed = 3 };

std::string Today() {
    const std::time_t now = std::time(nullptr);
    struct tm parts = {};
    gmtime_r(&now, &parts);
    char text[32];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, length};
}

}  // namespace

/// One step of the cycle. A step that does not reach a successful End, whatever the reason, leaves
/// the module failed and without a cycle.
class CModuleManager::Step {
public:
    Step(CModuleManager& module, int progress) : module(module) {
        module.SetUpdateProgress(progress);
    }
    ~Step() {
        if (!ended) {
            module.SetUpdateStatus(kFailed);
            module.SetUpdateProgress(kNoCycle);
        }
    }
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

    int End(int result, int progress) {
        if (result != 0) {
            return 1;
        }
        module.SetUpdateProgress(progress);
        ended = true;
        return 0;
    }

private:
    CModuleManager& module;
    bool ended = false;
};

/// Reads the versions of the cycle's beginning. An earlier cycle that was left in the middle must
/// not answer in the device's place.
void CModuleManager::BeginCycle() {
    SetUpdateProgress(kNoCycle);
    updateTimeVersion = GetOperatingVersion();
    if (updateTimeVersion != kUnreadableVersion) {
        SetPrevVendorVersion(updateTimeVersion);
    }
    SetUpdateStatus(kRunning);
}

int CModuleManager::ExecuteUpdateBackup(std::string folder, bool flag) {
    BeginCycle();
    Step step(*this, kBackedUp);
    cycleFolder = folder;
    if (step.End(UpdateBackup(folder, flag), kBackedUp) != 0) {
        return 1;
    }
    const std::string note = RecordFile(folder);
    if (!note.empty()) {
        CycleNote::Write(note, updateModuleInfo);
    }
    return 0;
}

int CModuleManager::ExecutePreUpdate(bool flag) {
    if (GetUpdateProgress() != kBackedUp) {
        BeginCycle();
    }
    Step step(*this, kPreUpdateBegin);
    std::list<std::string> allMembers;
    return HasUpdateModule()
               ? step.End(PreUpdate(cycleFolder, updateModuleInfo.archive, &allMembers, flag),
                          kPreUpdateEnd)
               : 1;
}

int CModuleManager::ExecuteUpdate(bool flag) {
    if (GetUpdateProgress() != kPreUpdateEnd) {
        BeginCycle();
    }
    Step step(*this, kUpdateBegin);
    std::list<std::string> allMembers;
    return HasUpdateModule()
               ? step.End(Update(cycleFolder, updateModuleInfo.archive, &allMembers, flag),
                          kUpdateEnd)
               : 1;
}

int CModuleManager::ExecuteUpdateRestore(std::string folder) {
    Step step(*this, kRestoreBegin);
    return step.End(UpdateRestore(std::move(folder)), kRestoreEnd);
}

bool CModuleManager::ExecuteUpdateApplyCheck() {
    Step step(*this, kApplyCheck);
    if (ApplyUpdatesRepository() != 0) {
        return true;
    }
    if (UpdateApplyCheck(cycleFolder)) {
        RollbackRepository();
        return true;
    }
    SetLatestUpdateDate(Today());
    SetUpdateStatus(kUpdated);
    CycleNote::Remove(RecordFile(cycleFolder));
    step.End(0, kDone);
    return false;
}

// The defaults stand for a component that needs nothing done in a step.

int CModuleManager::UpdateBackup(std::string, bool) {
    return 0;
}

int CModuleManager::PreUpdate(std::string, std::string, std::list<std::string>*, bool) {
    return 0;
}

int CModuleManager::Update(std::string, std::string, std::list<std::string>*, bool) {
    return 0;
}

int CModuleManager::UpdateRestore(std::string) {
    return 0;
}

bool CModuleManager::UpdateApplyCheck(std::string) {
    const std::string operating = GetOperatingVersion();
    return operating == kUnreadableVersion ||
           CheckVendorVersion(operating, GetOperatingModuleInfo().version) != 0;
}
