#pragma once

#include "qdmctl/Loaded.h"

#include <optional>
#include <string>

namespace qdmctl {

/// Below the install root: what one run leaves to later ones, each file written whole or not at
/// all. The folder is part of the work area.
inline constexpr char stateFolder[] = "/state";

/// The content of a file of that folder; an empty value when there is none. WorkArea for one that
/// is a link, does not belong to the caller alone or cannot be read.
[[nodiscard]] Loaded<std::optional<std::string>> ReadState(const std::string& root,
                                                           const std::string& name);

/// Whenever the process or the server ends, the file has its old content or the new one.
[[nodiscard]] std::optional<Error> WriteState(const std::string& root, const std::string& name,
                                              const std::string& content);

/// Success also when there is no such file.
[[nodiscard]] std::optional<Error> RemoveState(const std::string& root, const std::string& name);

/// Where a file of that folder lies.
[[nodiscard]] std::string StatePath(const std::string& root, const std::string& name);

}  // namespace qdmctl
