#pragma once

#include "host/CTraceUtility.h"

/// The provider's trace file and the host's trace levels by short names.
namespace Trace {

inline constexpr const char* File = "fc";

inline constexpr auto Info = CTraceUtility::TRACE_DBG_INFO;
inline constexpr auto Error = CTraceUtility::TRACE_DBG_ERROR;
inline constexpr auto Flow = CTraceUtility::TRACE_DBG_FLOW;
inline constexpr auto Warn = CTraceUtility::TRACE_DBG_WARN;

}  // namespace Trace
