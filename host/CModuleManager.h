#pragma once

#include "host/CDependencyInfo.h"
#include "host/CManageModuleInfo.h"
#include "host/CManageRepositoryInfo.h"

#include <list>
#include <string>

/// Base of all update modules: the update cycle of one component of one device.
///
/// The Execute operations run one step of the cycle: each sets the progress of its step, calls the
/// step that a provider overrides with the registered update module, and sets the progress again at
/// its end. Steps return 0 for success and 1 for failure, apply checks true when the update did not
/// take effect. The order of the virtual operations is part of the contract.
///
/// Progress: 0 no cycle, 10 backed up, 25 to 49 pre-update, 50 to 84 update, 85 to 90 restore, 95
/// apply check, 100 done. From 25 to 84 a provider answers version questions with
/// `updateTimeVersion` and leaves the device alone; hence that version is read before the progress
/// changes, and a step that fails or throws takes the progress back to 0, so that the next question
/// reads the device again.
///
/// Status: 0 none, 1 update running, 2 updated, 3 failed. A restore that cleans up behind a failed
/// step keeps the 3.
class CModuleManager {
public:
    virtual ~CModuleManager();

    virtual std::string GetOperatingVersion() = 0;
    virtual int CheckVendorVersion(std::string version1, std::string version2) = 0;

    /// 0 when the record names a version and an archive that exists, and what it depends on (see
    /// SetDependencyInfo) operates; 1 when not.
    virtual int CheckRegisterUpdateModule(CManageRepositoryInfo module);
    /// Registers the update module of the coming cycle: path of its archive and the version that it
    /// brings.
    virtual int RegistUpdateModule(std::string archive, std::string version);
    virtual CManageModuleInfo GetManageModuleInfo();
    virtual CManageRepositoryInfo GetOldOperatingModuleInfo();
    virtual CManageRepositoryInfo GetOperatingModuleInfo();
    virtual CManageRepositoryInfo GetUpdateModuleInfo();
    virtual int GetUpdatePriority();
    virtual void SetUpdatePriority(int priority);
    /// Makes `version` the operating record and forgets the registered update module.
    virtual void InitializeOperatingModuleInfo(std::string version);
    /// 0 when this component's operating version is at least the one that is required.
    virtual int CheckDependentInfo(CDependencyInfo dependency, bool, bool);
    /// Makes the record of the registered update module the operating record, against which the
    /// apply check compares. 1 when none is registered; without effect when done already.
    virtual int ApplyUpdatesRepository();
    /// Undoes ApplyUpdatesRepository.
    virtual int RollbackRepository();
    virtual int GetUpdateStatus();
    virtual int GetUpdateProgress();
    virtual std::string GetLatestUpdateDate();
    virtual std::string GetPrevVendorVersion();

    /// Begins a cycle. `folder` takes a note of it for LoadRepository; empty or missing: none.
    virtual int ExecuteUpdateBackup(std::string folder, bool flag);
    virtual int ExecutePreUpdate(bool flag);
    virtual int ExecuteUpdate(bool flag);
    virtual int ExecuteUpdateRestore(std::string folder);
    /// Ends a cycle: checks against the update module's record, which becomes the operating record,
    /// or is rolled back when the update did not take effect.
    virtual bool ExecuteUpdateApplyCheck();

    virtual void SetUpdateStatus(int status);
    virtual void SetUpdateProgress(int progress);
    virtual void SetLatestUpdateDate(std::string date);
    virtual void SetPrevVendorVersion(std::string version);
    /// Registers the update module whose cycle an earlier run began with a backup to `folder` and
    /// did not finish; 1 when there is none.
    virtual int LoadRepository(std::string folder);
    /// Reads GetOperatingVersion() once and keeps it; dropped by restore and by every change of
    /// progress.
    virtual std::string GetOperatingVersionCache();
    /// The least version of this component that must operate before an update may run.
    virtual void SetDependencyInfo(CManageRepositoryInfo module);

    virtual int UpdateBackup(std::string, bool);
    virtual int PreUpdate(std::string, std::string updateModule, std::list<std::string>* files,
                          bool);
    virtual int Update(std::string, std::string updateModule, std::list<std::string>* files, bool);
    virtual int UpdateRestore(std::string);
    /// True when the update did not take effect.
    virtual bool UpdateApplyCheck(std::string);

    std::string GetModuleName();
    /// For host programs, after LinkDevice.
    void SetUniqueName(std::string name);

protected:
    CModuleManager(std::string deviceId, std::string moduleName);

    std::string deviceId;
    std::string uniqueName;         ///< kind of update module; for firmware the vendor's model key
    std::string updateTimeVersion;  ///< version that operated when the running update began
    std::string moduleName;
    CManageRepositoryInfo operatingModuleInfo;  ///< what GetOperatingModuleInfo returns

private:
    class Step;

    void BeginCycle();
    bool HasUpdateModule();
    std::string RecordFile(const std::string& folder);
    void DropVersionCache();

    CManageRepositoryInfo oldOperatingModuleInfo;
    CManageRepositoryInfo updateModuleInfo;
    CManageRepositoryInfo dependencyInfo;
    std::string cycleFolder;
    std::string prevVendorVersion;
    std::string latestUpdateDate;
    std::string operatingVersionCache;
    bool operatingVersionCached = false;
    bool repositoryApplied = false;
    int updatePriority = 0;
    int updateStatus = 0;
    int updateProgress = 0;
};
