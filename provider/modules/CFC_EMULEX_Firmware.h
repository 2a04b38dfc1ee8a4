#pragma once

#include "provider/modules/CEMULEX_Firmware.h"

#include <string>

/// Firmware module of a Fibre Channel port, with its boot BIOS version.
class CFC_EMULEX_Firmware : public CEMULEX_Firmware {
public:
    CFC_EMULEX_Firmware(std::string deviceId, std::string wwpn);
    ~CFC_EMULEX_Firmware() override;

    /// "abnormal" when the adapter does not answer or the version has not the model's form; what
    /// was read before stays cached. During an update the version at its begin.
    virtual std::string GetBootBiosVersion();

    /// The boot BIOS version itself, or "abnormal" where the model demands a form that it has not.
    virtual std::string CheckBootBiosVersionFormat(std::string version);

private:
    std::string ReadBootBiosVersion();
};
