#pragma once

#include "qdmctl/CallRecord.h"

#include <string>

namespace qdmctl {

// What the provider's lines about a failure mean, in a person's words. Each is a part of a sentence
// whose subject is the adapter tool ("it ended with an error") or that stands alone.

/// The trace levels in which a provider tells how its listing of the adapters went.
inline constexpr unsigned ListingLevels =
    CTraceUtility::TRACE_DBG_ERROR | CTraceUtility::TRACE_DBG_INFO;

/// Why the listing of the adapters failed, from a record at ListingLevels.
[[nodiscard]] std::string ReasonOfListing(const CallRecord& record);

/// Why a port's attributes or the tool's own version could not be read.
[[nodiscard]] std::string ReasonOfReading(const CallRecord& record);

/// Why a step of an update of a kind of module failed.
[[nodiscard]] std::string ReasonOfUpdate(const std::string& kind, const CallRecord& record);

}  // namespace qdmctl
