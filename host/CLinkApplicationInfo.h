#pragma once

#include <string>

/// An application that is linked to a device, for example its management utility.
class CLinkApplicationInfo {
public:
    std::string name;
    std::string version;
};
