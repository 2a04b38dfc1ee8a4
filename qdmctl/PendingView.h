#pragma once

#include "qdmctl/PendingUpdates.h"

#include <string>

namespace qdmctl {

/// An update that waits for a reboot, as an answer tells it.
struct PendingView {
    PendingUpdate update;
    std::string operating;     ///< the version that operates now; empty: could not be read
    std::string nextBoot;      ///< that the next boot would load instead; empty: nothing tells so
    bool bootedSince = false;  ///< the server has been booted again since it was installed
};

}  // namespace qdmctl
