#pragma once

#include "provider/modules/CEMULEX_Driver.h"

#include <list>
#include <string>

/// Driver module of a Fibre Channel port. The driver package is installed in Update, once in a
/// cycle for all ports of a server: a result file marks it as done until backup or restore.
class CFC_EMULEX_Driver : public CEMULEX_Driver {
public:
    CFC_EMULEX_Driver(std::string first, std::string second, std::string wwpn);
    ~CFC_EMULEX_Driver() override;

    /// Forgets that the package was installed; always 0.
    int UpdateBackup(std::string, bool) override;
    int PreUpdate(std::string, std::string, std::list<std::string>*, bool) override;
    /// Installs the one package for this machine's architecture and makes the kernel prefer it. On
    /// failure the last error tells why, and what was unpacked stays.
    int Update(std::string, std::string updateModule, std::list<std::string>* files, bool) override;
    /// Forgets also what was read of the adapter; always 0.
    int UpdateRestore(std::string) override;
    bool UpdateApplyCheck(std::string) override;

    /// As the base, without what follows a ";".
    std::string FormatVersionString(std::string version) override;
};
