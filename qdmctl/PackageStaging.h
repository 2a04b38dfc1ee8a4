#pragma once

#include "qdmctl/UpdatePlan.h"

namespace qdmctl {

/// Copies the items' packages to a private folder and checks the copies, each once. Items whose
/// package cannot be used are refused and taken out.
void StagePackages(Session& session, const Repository& repository, std::vector<UpdateItem>& items);

}  // namespace qdmctl
