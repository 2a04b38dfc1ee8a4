#pragma once

#include "host/DllCommon/HostObserver.h"

/// Sends an operator message to the system log and appends it as one line (time, process,
/// severity, identifier, text) to log/events.log below the install root. A message that cannot be
/// written there leaves a line in the trace.
void LogEvent(const HostMessage& message);
