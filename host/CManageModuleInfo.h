#pragma once

#include "host/CManageRepositoryInfo.h"

#include <string>

/// An update module together with the module kind and name that it is meant for.
class CManageModuleInfo {
public:
    std::string moduleKind;
    std::string moduleName;
    CManageRepositoryInfo repository;
};
