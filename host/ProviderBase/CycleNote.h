#pragma once

#include <optional>
#include <string>

#include "host/CManageRepositoryInfo.h"

/// A note about a running update cycle, kept in a file so that a run that was cut short can be
/// taken up: three lines, "kind=", "version=" and "archive=".
namespace CycleNote {

/// Written whole or not at all, mode 0600. False when it cannot be written, also for texts with
/// line ends.
bool Write(const std::string& file, const CManageRepositoryInfo& module);

/// Empty when there is no sound note.
[[nodiscard]] std::optional<CManageRepositoryInfo> Read(const std::string& file);

void Remove(const std::string& file);

}  // namespace CycleNote
