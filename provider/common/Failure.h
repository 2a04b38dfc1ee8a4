#pragma once

#include "provider/common/ErrorCode.h"

#include <string>

/// Ends of a step that failed: they set the last error and answer false, for the step to return.

/// Traces `line` where there is one.
bool Fail(ErrorCode::Code code, const std::string& line = "");

/// Before that, sends a message whose one further insert is the last error.
bool FailAndTell(ErrorCode::Code code, const char* messageId, const char* moduleWord,
                 const std::string& line = "");
