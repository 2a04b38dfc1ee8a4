#pragma once

#include "host/CModuleManager.h"

#include <string>

/// Base of the management utility modules.
class CUtility : public CModuleManager {
public:
    CUtility(std::string deviceId, std::string moduleName);
    ~CUtility() override;
};
