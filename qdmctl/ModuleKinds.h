#pragma once

#include "qdmctl/Answer.h"
#include "qdmctl/CallRecord.h"

#include <string>
#include <vector>

class CModuleManager;
class CVendor;

namespace qdmctl {

// Kinds of modules, as update modules and components name them.
inline constexpr char UtilityKind[] = "util";
inline constexpr char FirmwareKind[] = "firm";
inline constexpr char DriverKind[] = "driver";

inline constexpr char TakesEffectAfterReboot[] = "installed; takes effect after a reboot";

/// What sets the kinds apart in an update.
struct KindTraits {
    const char* kind;
    const char* step;   ///< of the cycle, the one that changes the server; the others do nothing
    const char* title;  ///< of that step, for people
    bool ofServer;      ///< one for the whole server: the first port's step serves all
};

/// Nullptr for a kind that is not known.
[[nodiscard]] const KindTraits* FindTraits(const std::string& kind);
[[nodiscard]] bool IsOfServer(const std::string& kind);

/// The known kinds in the order in which the vendor wants them updated.
[[nodiscard]] std::vector<std::string> KindsInOrder(CVendor& vendor);

/// A port's modules of a kind; they belong to the vendor object.
[[nodiscard]] std::vector<CModuleManager*> ModulesOf(CVendor& vendor, const std::string& kind);

/// The first of them; null where there is none.
[[nodiscard]] CModuleManager* ModuleOfKind(CVendor& vendor, const std::string& kind);

/// The one of a port's versions that an update of the kind changes.
[[nodiscard]] std::string& VersionOf(Versions& versions, const std::string& kind);

/// A module's own rules for versions. A comparison gives 0 for equal and for malformed versions;
/// only the message tells them apart.
struct VersionRules {
    CModuleManager& module;

    /// Positive when the second is newer.
    int Compare(const std::string& first, const std::string& second) const;
    bool IsWellFormed(const std::string& version) const;
    bool AreEqual(const std::string& first, const std::string& second) const;
};

}  // namespace qdmctl
