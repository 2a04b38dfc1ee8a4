#pragma once

#include "host/CModuleManager.h"

#include <optional>
#include <string>

/// How the modules of a port arrive at their operating versions. `operation` is the caller's
/// qualified name, such as "CEMULEX_Driver::GetOperatingVersion()", and stands in front of trace
/// lines.
namespace OperatingVersion {

/// A version that cannot be read or has not the required form.
inline constexpr const char* Abnormal = "abnormal";

/// True while an update of the module runs, by the progress that the host keeps. The adapter is not
/// asked meanwhile: it would tell of a state in between.
bool IsUpdating(int progress);

/// What stands for the operating version meanwhile: the version at the update's begin, or, when the
/// host keeps none, the one before.
std::string DuringUpdate(const char* operation, const std::string& wwpn,
                         const std::string& updateTimeVersion, const std::string& prevVersion);

/// An adapter attribute, trimmed. None, with a trace line, when it cannot be read.
std::optional<std::string> FromAdapter(const char* operation, const std::string& wwpn,
                                       const char* attribute);

/// Traces "OPERATION [VERSION][MARK]".
void TraceFormatting(const char* operation, const std::string& version, const char* mark);

/// Four numeric segments, blanks around and dust behind the last one taken off. `Abnormal` for any
/// other text, traced with `complaint` in front.
std::string FourSegments(const char* complaint, std::string version);

/// The check after an update, by the module's own reading and comparing: true, with an operator
/// message, when the operating version is not that of the operating record. `unreadableId` is the
/// message for a version that cannot be read.
bool DiffersFromUpdate(CModuleManager& module, const char* moduleWord, const char* unreadableId);

}  // namespace OperatingVersion
