#pragma once

#include "qdmctl/PendingUpdates.h"

namespace qdmctl {

class Session;

/// Holds every update of the store against what operates now, read afresh from a port that can be
/// used. Confirmed ones leave the store, refuted ones are marked in it; all of them go to the
/// answer's section, errors of the store to its errors. Without a usable port nothing is decided.
void JudgePending(Session& session, PendingUpdates& store);

}  // namespace qdmctl
