#include "qdmctl/ModuleKinds.h"

#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"
#include "host/CVendor.h"

#include <algorithm>
#include <iterator>

namespace qdmctl {
namespace {

constexpr KindTraits Kinds[] = {
    {UtilityKind, "pre-update", "replacing the adapter utility", true},
    {FirmwareKind, "pre-update", "flashing firmware", false},
    {DriverKind, "update", "installing the driver", true},
};

constexpr char MalformedVersionMessage[] = "MSGID_EMULEX_FC_0019_F";

}  // namespace

const KindTraits* FindTraits(const std::string& kind) {
    const auto found = std::find_if(std::begin(Kinds), std::end(Kinds),
                                    [&](const KindTraits& traits) { return kind == traits.kind; });
    return found == std::end(Kinds) ? nullptr : found;
}

bool IsOfServer(const std::string& kind) {
    const KindTraits* traits = FindTraits(kind);
    return traits != nullptr && traits->ofServer;
}

std::vector<std::string> KindsInOrder(CVendor& vendor) {
    std::vector<std::string> kinds;
    for (const auto order :
         {CVendor::UPDATE_ORDER_FIRST, CVendor::UPDATE_ORDER_SECOND, CVendor::UPDATE_ORDER_THIRD}) {
        std::string kind = vendor.GetUpdateOrderModuleKind(order, false);
        if (FindTraits(kind) != nullptr) {
            kinds.push_back(std::move(kind));
        }
    }
    return kinds;
}

std::vector<CModuleManager*> ModulesOf(CVendor& vendor, const std::string& kind) {
    std::vector<CModuleManager*> modules;
    if (kind == UtilityKind) {
        const auto utilities = vendor.GetUtilityModules();
        modules.assign(utilities.begin(), utilities.end());
    } else if (kind == FirmwareKind) {
        modules.push_back(vendor.GetFirmwareModule());
    } else if (kind == DriverKind) {
        modules.push_back(vendor.GetDriverModule());
    }
    modules.erase(std::remove(modules.begin(), modules.end(), nullptr), modules.end());
    return modules;
}

CModuleManager* ModuleOfKind(CVendor& vendor, const std::string& kind) {
    const auto modules = ModulesOf(vendor, kind);
    return modules.empty() ? nullptr : modules.front();
}

std::string& VersionOf(Versions& versions, const std::string& kind) {
    if (kind == UtilityKind) {
        return versions.utility;
    }
    return kind == DriverKind ? versions.driver : versions.firmware;
}

int VersionRules::Compare(const std::string& first, const std::string& second) const {
    return module.CheckVendorVersion(first, second);
}

bool VersionRules::IsWellFormed(const std::string& version) const {
    const CallRecord record;
    module.CheckVendorVersion(version, version);
    return !record.Has(MalformedVersionMessage);
}

bool VersionRules::AreEqual(const std::string& first, const std::string& second) const {
    return IsWellFormed(first) && IsWellFormed(second) && Compare(first, second) == 0;
}

}  // namespace qdmctl
