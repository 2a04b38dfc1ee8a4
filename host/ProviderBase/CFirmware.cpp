#include "host/CFirmware.h"

CFirmware::CFirmware(std::string deviceId) : CModuleManager(std::move(deviceId), "") {
    operatingModuleInfo.kind = "firm";
    uniqueName = operatingModuleInfo.kind;
}

CFirmware::~CFirmware() = default;
