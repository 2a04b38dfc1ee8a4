#pragma once

#include "provider/modules/CFC_EMULEX_Firmware.h"

#include <string>

/// Firmware module of an 8 Gbit port. Firmware and boot BIOS versions have the adapters' own form,
/// such as "2.02a4".
class CFC_EMULEX_8G_Firmware : public CFC_EMULEX_Firmware {
public:
    CFC_EMULEX_8G_Firmware(std::string deviceId, std::string wwpn);
    ~CFC_EMULEX_8G_Firmware() override;

    int CheckVendorVersion(std::string version1, std::string version2) override;
    std::string FormatVersionString(std::string version) override;
    std::string CheckBootBiosVersionFormat(std::string version) override;
};
