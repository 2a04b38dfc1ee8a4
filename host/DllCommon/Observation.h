#pragma once

#include "host/DllCommon/HostObserver.h"

#include <string>

/// What the tracing functions hand to the observer that a host program has set; nothing happens
/// when there is none.
unsigned ObservedLevels();
void ObserveTrace(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& line);
void ObserveMessage(const HostMessage& message);
