#pragma once

#include <string>

/// One update module as the host's repository holds it.
class CManageRepositoryInfo {
public:
    std::string version;  ///< version that the module brings
    std::string kind;     ///< "util", "firm" or "driver"
    std::string archive;  ///< path of the update module
};
