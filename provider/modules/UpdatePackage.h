#pragma once

#include <list>
#include <optional>
#include <string>

/// What the modules have in common in handling the archive of an update.
namespace UpdatePackage {

/// Where driver and utility packages are unpacked, one after the other.
std::string Folder();

/// Unpacks into `folder`, made anew; only `files` where they are named. False, with the last error
/// set and message 0004 sent, when that fails. A null `moduleWord` sends no message.
bool Unpack(const std::string& updateModule, std::list<std::string>* files,
            const std::string& folder, const char* moduleWord);

/// The folder of a package that serves this machine architecture, "x86" or "x64"; none for other
/// architectures.
std::optional<std::string> ArchitectureFolder(const std::string& architecture);

}  // namespace UpdatePackage
