#pragma once

#include <string>

/// The provider's private files, all below the host's install root.
namespace WorkArea {

std::string CacheFolder();  ///< adapter list, attribute caches, utility version
std::string TempFolder();   ///< result files, marker files, unpack folders

std::string CacheFile(const std::string& name);
std::string TempFile(const std::string& name);

std::string AdapterList();  ///< "Listhbas.txt" in the cache folder

}  // namespace WorkArea
