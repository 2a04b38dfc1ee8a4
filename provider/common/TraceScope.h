#pragma once

#include "provider/common/Trace.h"

#include <functional>
#include <string>
#include <utility>

/// Writes the entry line of an operation when it is made and the exit line when it ends, whichever
/// way it ends.
class TraceScope {
public:
    /// Writes a line. Nothing should be formatted before the host has seen that the trace is on.
    using Writer = std::function<void()>;

    /// "Class::Operation() [START]" and "Class::Operation() [END]". Keeps the pointer.
    explicit TraceScope(const char* operation, CTraceUtility::TRACE_DBG_LEVEL level = Trace::Flow);

    /// For an operation whose entry line is written already. What the writer looks at outlives the
    /// scope.
    explicit TraceScope(Writer exit) : exit(std::move(exit)) {}

    /// Entry and exit lines as they stand.
    TraceScope(const std::string& entry, std::string exit);

    ~TraceScope();

    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

    /// Replaces the exit line, for operations whose exit line tells their result.
    void SetExit(Writer writer) { exit = std::move(writer); }
    void SetExit(const char* line);  ///< keeps the pointer
    void SetExit(std::string line);

private:
    const char* operation = nullptr;
    CTraceUtility::TRACE_DBG_LEVEL level = Trace::Flow;
    Writer exit;  ///< takes precedence over the operation's plain exit line
};
