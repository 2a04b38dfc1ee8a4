#pragma once

#include "provider/modules/CDriverWithUpDrv.h"

#include <list>
#include <string>

/// Driver module of one adapter port: the operating version of the adapter's driver,
/// and the kernel's preference for it.
class CEMULEX_Driver : public CDriverWithUpDrv {
public:
    CEMULEX_Driver(std::string first, std::string second, std::string wwpn);
    ~CEMULEX_Driver() override;

    /// "abnormal" when the port is unknown, the adapter does not answer, or the version has not the
    /// required form. During an update the version at its begin.
    std::string GetOperatingVersion() override;
    int CheckVendorVersion(std::string version1, std::string version2) override;

    // Steps without work, for adapters whose driver is not updated here.
    int UpdateBackup(std::string, bool) override;
    int PreUpdate(std::string, std::string, std::list<std::string>*, bool) override;
    int Update(std::string, std::string, std::list<std::string>*, bool) override;
    int UpdateRestore(std::string) override;
    bool UpdateApplyCheck(std::string) override;

    virtual void SetWWPNorMac(std::string value);

    /// A version as the adapter writes it in the form that versions are compared in, or "abnormal".
    virtual std::string FormatVersionString(std::string version);

    /// Makes the kernel prefer the adapter maker's modules: an override file for each module
    /// selected, unless it tells of the module already, and one run of `depmod -a` for them all.
    /// False when a file could not be written, which sets error 17, or `depmod` failed.
    bool DepmodExecute(bool be2net, bool lpfc, bool be2iscsi);

protected:
    std::string wwpn;

private:
    /// "OPERATION [module] [device identifier] [WWPN] MARK"
    void WriteLine(const char* operation, const std::string& mark) const;
};
