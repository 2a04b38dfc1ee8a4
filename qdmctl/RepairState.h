#pragma once

#include "qdmctl/RepairNote.h"

namespace qdmctl {

class Session;

/// Whether an installation of the utility has broken off that left a utility which answers with the
/// new version already, though not what the vendor wants to be there with it. Wants linked ports
/// whose versions have been read; none where nothing tells so.
[[nodiscard]] std::optional<Error> BrokenInstallation(Session& session, const RepairNote& note);

}  // namespace qdmctl
