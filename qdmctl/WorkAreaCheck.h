#pragma once

#include "qdmctl/Error.h"

#include <optional>
#include <string>

namespace qdmctl {

/// Makes sure that the install root belongs to the caller alone, and that the folders of the work
/// area below it exist or can be made. WorkArea or DiskFull, naming the path at fault.
[[nodiscard]] std::optional<Error> CheckWorkFolders(const std::string& root);

/// Whether a file can be written there. The folders have been checked.
[[nodiscard]] std::optional<Error> CheckScratchWritable(const std::string& root);

/// Whether the work area's disk tells of so much space that no file need be written to find out.
[[nodiscard]] bool HasSpaceToSpare(const std::string& root);

/// Whether runs can leave there what later ones need to know, which no change is begun without. The
/// folders have been checked.
[[nodiscard]] std::optional<Error> CheckStateWritable(const std::string& root);

/// The same without making or writing anything, for any caller: folders that are missing or cannot
/// be looked at pass, as long as the install root itself is there.
[[nodiscard]] std::optional<Error> InspectWorkFolders(const std::string& root);

/// The folder by whose closing other users are kept from unpacked packages; empty when they cannot
/// get there, or there is no such folder.
[[nodiscard]] std::string OpenWorkFolder(const std::string& root);

/// Keeps other users from the folders where packages will be unpacked, whose scripts are made
/// writable for all and run as root. The folders have been checked.
[[nodiscard]] std::optional<Error> CloseWorkFolders(const std::string& root);

}  // namespace qdmctl
