#pragma once

#include "qdmctl/PendingUpdates.h"
#include "qdmctl/PendingView.h"

#include <vector>

namespace qdmctl {

class Session;

/// Holds every update of the store against what operates now, read afresh from a port that can be
/// used. Confirmed ones leave the store, refuted ones are marked in it; all of them go to the
/// answer's section, errors of the store to its errors. Without a usable port nothing is decided.
void JudgePending(Session& session, PendingUpdates& store);

/// The same for showing: readings may come from the caches, and the store stays as it is.
[[nodiscard]] std::vector<PendingView> LookAtPending(Session& session, const PendingUpdates& store);

/// The version of the update's kind that operates, as a usable port tells it, perhaps from the
/// caches; empty: none does.
[[nodiscard]] std::string OperatingFromCaches(Session& session, const PendingUpdate& update);

}  // namespace qdmctl
