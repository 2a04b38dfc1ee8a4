#pragma once

#include "provider/modules/CFC_EMULEX_Firmware.h"

#include <string>

/// Firmware module of a 16 Gbit port. Firmware versions have four numeric segments; the boot BIOS
/// version may have any form.
class CFC_EMULEX_16G_Firmware : public CFC_EMULEX_Firmware {
public:
    CFC_EMULEX_16G_Firmware(std::string deviceId, std::string wwpn);
    ~CFC_EMULEX_16G_Firmware() override;

    int CheckVendorVersion(std::string version1, std::string version2) override;
};
