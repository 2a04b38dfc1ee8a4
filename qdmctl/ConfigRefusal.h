#pragma once

#include "qdmctl/CallRecord.h"
#include "qdmctl/Descriptor.h"

#include <optional>
#include <string>

namespace qdmctl {

class Session;
struct PortSession;

/// What the vendor itself has against an update of a kind of module.
[[nodiscard]] std::optional<Error> AskVendorsCondition(Session& session, PortSession& port,
                                                       const std::string& kind);

/// The trace levels in which a provider tells what its configuration check has seen.
inline constexpr unsigned ConfigCheckLevels =
    CTraceUtility::TRACE_DBG_ERROR | CTraceUtility::TRACE_DBG_INFO;

/// Why the configuration check of the utility refused an update and what is to be written where,
/// from the lines that it traced (at ConfigCheckLevels). What stands there instead, and which lines
/// it has found, comes from those lines; what must stand there, from the descriptor.
[[nodiscard]] Error ExplainConfigRefusal(const CallRecord& record, const UtilityFacts& utility);

}  // namespace qdmctl
