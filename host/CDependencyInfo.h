#pragma once

#include <string>

/// A module version that another module requires.
class CDependencyInfo {
public:
    std::string moduleKind;
    std::string moduleName;
    std::string minimumVersion;  ///< empty: any version
};
