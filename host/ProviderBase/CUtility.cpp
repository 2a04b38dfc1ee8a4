#include "host/CUtility.h"

CUtility::CUtility(std::string deviceId, std::string moduleName)
    : CModuleManager(std::move(deviceId), std::move(moduleName)) {
    operatingModuleInfo.kind = "util";
    uniqueName = operatingModuleInfo.kind;
}

CUtility::~CUtility() = default;
