#pragma once

#include <string>

class CModuleManager;
class CVendor;

namespace qdmctl {

/// The vendor object's module of a kind ("util", "firm", "driver"); null where it has none.
[[nodiscard]] CModuleManager* ModuleOfKind(CVendor& vendor, const std::string& kind);

}  // namespace qdmctl
