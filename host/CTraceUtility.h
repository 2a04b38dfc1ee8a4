#pragma once

/// Trace and operator messages of the host. Both take the name of the trace file that the caller
/// belongs to.
class CTraceUtility {
public:
    /// Bits of the host's trace mask.
    enum TRACE_DBG_LEVEL {
        TRACE_DBG_INFO = 1,
        TRACE_DBG_ERROR = 2,
        TRACE_DBG_FLOW = 4,
        TRACE_DBG_WARN = 16
    };

    /// One line of the debug trace, printf-like. A level that is off costs no formatting.
    static void WriteDebug(const char* file, TRACE_DBG_LEVEL level, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    /// One operator message. The inserts are `const char*`; their number is fixed for each
    /// identifier by the host's message table, so the caller passes exactly that many.
    static void WriteTrace(const char* file, const char* messageId, ...);
};
