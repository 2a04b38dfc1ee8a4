#pragma once

#include "host/CModuleManager.h"

#include <string>

/// Base of the driver modules.
class CDriver : public CModuleManager {
public:
    explicit CDriver(std::string deviceId);
    CDriver(std::string deviceId, std::string moduleName);
    ~CDriver() override;
};
