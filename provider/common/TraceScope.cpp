#include "provider/common/TraceScope.h"

#include <utility>

TraceScope::TraceScope(const char* operation, CTraceUtility::TRACE_DBG_LEVEL level)
    : operation(operation), level(level) {
    CTraceUtility::WriteDebug(Trace::File, level, "%s() [START]", operation);
}

TraceScope::TraceScope(const std::string& entry, std::string exit) : exit(std::move(exit)) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s", entry.c_str());
}

TraceScope::~TraceScope() {
    if (operation != nullptr && exit.empty()) {
        CTraceUtility::WriteDebug(Trace::File, level, "%s() [END]", operation);
    } else {
        CTraceUtility::WriteDebug(Trace::File, level, "%s", exit.c_str());
    }
}

void TraceScope::SetExit(std::string text) {
    exit = std::move(text);
}
