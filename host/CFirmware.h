#pragma once

#include "host/CModuleManager.h"

#include <string>

/// Base of the firmware modules.
class CFirmware : public CModuleManager {
public:
    explicit CFirmware(std::string deviceId);
    ~CFirmware() override;
};
