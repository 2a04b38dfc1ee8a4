#pragma once

#include "host/CUtility.h"

#include <list>
#include <string>

/// Module of the adapters' management utility, which brings the adapter tool along. The
/// update is all done in PreUpdate, once in a cycle for all ports of a server: the install script's
/// output marks it as done until backup or restore.
class CEMULEX_OCM_Utility : public CUtility {
public:
    /// By which the module is found among a port's utility modules; also its word in messages.
    static constexpr const char* ModuleName = "ocm";

    explicit CEMULEX_OCM_Utility(std::string deviceId);
    ~CEMULEX_OCM_Utility() override;

    /// The installed version, asked of the tool at most once an hour; an old answer serves when the
    /// tool is missing. "abnormal" when there is none or it has not the required form.
    std::string GetOperatingVersion() override;
    int CheckVendorVersion(std::string operating, std::string update) override;

    /// Forgets that the package was installed; always 0.
    int UpdateBackup(std::string, bool) override;
    int PreUpdate(std::string, std::string updateModule, std::list<std::string>* files,
                  bool) override;
    int Update(std::string, std::string, std::list<std::string>*, bool) override;  ///< nothing left
    /// Forgets also the version read of the tool; always 0.
    int UpdateRestore(std::string) override;
    bool UpdateApplyCheck(std::string) override;

    /// Replaces the installed utility by the package of an update module: its script removes the
    /// old one, then the other installs the new one. True when done, now or before in this cycle.
    /// Between the scripts, and after a failure of the second, there is no utility. What was
    /// unpacked stays.
    bool OCMUpdate(std::string, std::string updateModule, std::list<std::string>* files, bool);

    /// True when the installed utility is set up for updates that nobody watches: local operation
    /// only, by its two configuration files, and without its package `elxocmjvm`. Changes nothing.
    bool OCMInstallCheck();

private:
    /// What the install script printed; that it is there marks the package as installed.
    static std::string InstallOutput();
};
