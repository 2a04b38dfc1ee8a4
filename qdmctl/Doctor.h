#pragma once

#include "qdmctl/AnswerChecks.h"
#include "qdmctl/Discovery.h"

#include <string>
#include <vector>

namespace qdmctl {

class Session;

using Checks = std::vector<Check>;

void AddOk(Checks& checks, const char* name, const std::string& finding);
void AddWarning(Checks& checks, const char* name, const std::string& finding,
                const std::string& remedy);
void AddFailure(Checks& checks, const char* name, const std::string& finding,
                const std::string& remedy);

/// What can be told without adapters and without rights: rights, install root, space, programs.
void CheckServer(Checks& checks, const std::string& root);

/// Whether an update could leave what later runs need to know; the work area has been checked.
void CheckState(Checks& checks, const std::string& root);

/// What earlier runs have left; needs rights.
void CheckLeftovers(Checks& checks, const std::string& root);

/// Provider, adapters and their tool and packages, lspci, utility and driver. The session's lock is
/// held; what its steps find wrong becomes checks, and stays in its answer.
void CheckAdapters(Checks& checks, Session& session);

/// Whether the provider can read a port's identifiers from what `lspci -nms` prints for it: it
/// takes the third, fourth, sixth and seventh of the columns.
[[nodiscard]] bool HasKnownColumns(const std::string& line, const DiscoveredPort& port);

}  // namespace qdmctl
