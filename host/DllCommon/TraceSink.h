#pragma once

#include "host/CTraceUtility.h"

#include <string>

/// All levels of CTraceUtility::TRACE_DBG_LEVEL.
constexpr unsigned kAllTraceLevels = CTraceUtility::TRACE_DBG_INFO |
                                     CTraceUtility::TRACE_DBG_ERROR |
                                     CTraceUtility::TRACE_DBG_FLOW | CTraceUtility::TRACE_DBG_WARN;

/// Sends the debug trace to the end of `file` from now on, in place of where it went before; a file
/// that is made has mode 0600. Returns why that is not possible, with the trace as it was; empty on
/// success.
///
/// Without this call the trace goes where QDM_TRACE and QDM_TRACE_LEVEL tell at the first line.
[[nodiscard]] std::string OpenTraceFile(const std::string& file, unsigned levels = kAllTraceLevels);

/// Why QDM_TRACE or QDM_TRACE_LEVEL could not be followed; empty when all is well.
[[nodiscard]] std::string TraceEnvironmentRefusal();

/// Levels that go to the trace file; 0 when the trace is off.
unsigned TraceFileLevels();

/// One line of the trace file, whole beside the lines of other processes. The caller has asked
/// TraceFileLevels; `text` holds no control characters.
void WriteTraceLine(const char* file, CTraceUtility::TRACE_DBG_LEVEL level,
                    const std::string& text);
