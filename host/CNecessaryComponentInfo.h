#pragma once

#include <string>

/// A component that a device needs and that the server lacks.
class CNecessaryComponentInfo {
public:
    std::string name;  ///< display name
};
