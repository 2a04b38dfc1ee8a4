#include "host/CDriver.h"

CDriver::CDriver(std::string deviceId) : CDriver(std::move(deviceId), "") {}

CDriver::CDriver(std::string deviceId, std::string moduleName)
    : CModuleManager(std::move(deviceId), std::move(moduleName)) {
    operatingModuleInfo.kind = "driver";
    uniqueName = operatingModuleInfo.kind;
}

CDriver::~CDriver() = default;
