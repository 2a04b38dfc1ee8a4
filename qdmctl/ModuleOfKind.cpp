#include "qdmctl/ModuleOfKind.h"

#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"
#include "host/CVendor.h"

namespace qdmctl {

CModuleManager* ModuleOfKind(CVendor& vendor, const std::string& kind) {
    if (kind == "firm") {
        return vendor.GetFirmwareModule();
    }
    if (kind == "driver") {
        return vendor.GetDriverModule();
    }
    const auto utilities = vendor.GetUtilityModules();
    return kind == "util" && !utilities.empty() ? utilities.front() : nullptr;
}

}  // namespace qdmctl
