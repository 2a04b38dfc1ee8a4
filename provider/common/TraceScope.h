#pragma once

#include "provider/common/Trace.h"

#include <string>

/// Writes the entry line of an operation when it is made and the exit line when it ends, whichever
/// way it ends.
class TraceScope {
public:
    /// "Class::Operation() [START]" and "Class::Operation() [END]". Keeps the pointer.
    explicit TraceScope(const char* operation, CTraceUtility::TRACE_DBG_LEVEL level = Trace::Flow);

    /// Entry and exit lines as they stand.
    TraceScope(const std::string& entry, std::string exit);

    ~TraceScope();

    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

    /// Replaces the exit line, for operations whose exit line tells their result.
    void SetExit(std::string exit);

private:
    const char* operation = nullptr;
    CTraceUtility::TRACE_DBG_LEVEL level = Trace::Flow;
    std::string exit;  ///< takes precedence over the operation's plain exit line
};
