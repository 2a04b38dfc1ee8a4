#pragma once

#include "host/CDriver.h"

#include <string>

/// Driver module whose update steps are the host's.
class CDriverWithUpDrv : public CDriver {
public:
    explicit CDriverWithUpDrv(std::string deviceId);
    CDriverWithUpDrv(std::string deviceId, std::string moduleName);
    ~CDriverWithUpDrv() override;
};
