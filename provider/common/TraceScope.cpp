#include "provider/common/TraceScope.h"

#include <utility>

TraceScope::TraceScope(const char* operation, CTraceUtility::TRACE_DBG_LEVEL level)
    : operation(operation), level(level) {
    CTraceUtility::WriteDebug(Trace::File, level, "%s() [START]", operation);
}

TraceScope::TraceScope(const std::string& entry, std::string exit) {
    SetExit(std::move(exit));
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s", entry.c_str());
}

TraceScope::~TraceScope() {
    if (exit) {
        exit();
    } else {
        CTraceUtility::WriteDebug(Trace::File, level, "%s() [END]", operation);
    }
}

void TraceScope::SetExit(const char* line) {
    exit = [line, level = level] { CTraceUtility::WriteDebug(Trace::File, level, "%s", line); };
}

void TraceScope::SetExit(std::string line) {
    exit = [line = std::move(line), level = level] {
        CTraceUtility::WriteDebug(Trace::File, level, "%s", line.c_str());
    };
}
