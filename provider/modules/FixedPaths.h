#pragma once

#include <string>

/// Folders of the system outside the provider's work area.
namespace FixedPaths {

std::string DepmodFolder();  ///< override files of `depmod`
std::string ConfigFolder();  ///< configuration files of the management utility

}  // namespace FixedPaths
