#pragma once

#include "host/CTraceUtility.h"

#include <atomic>

// Masks of CTraceUtility::TRACE_DBG_LEVEL: every line that is not written looks here, and does no
// more than that. Nothing of it is for other libraries.
#pragma GCC visibility push(hidden)

/// Levels that go to the trace file; all of them until it has been asked for.
extern std::atomic<unsigned> fileLevels;

/// Levels that the observer wants; 0 without one.
extern std::atomic<unsigned> observedLevels;

#pragma GCC visibility pop

/// Whether a line of this level may be wanted by anybody.
inline bool MayBeTraced(CTraceUtility::TRACE_DBG_LEVEL level) {
    return ((fileLevels.load(std::memory_order_relaxed) |
             observedLevels.load(std::memory_order_relaxed)) &
            level) != 0;
}
