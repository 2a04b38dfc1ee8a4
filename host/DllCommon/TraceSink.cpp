#include "host/DllCommon/TraceSink.h"

#include "host/DllCommon/TraceLevels.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

// Nothing of these headers is for others: hidden, their many inline functions cost no look-up when
// the library is loaded.
#pragma GCC visibility push(hidden)
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#pragma GCC visibility pop

namespace {

/// Appends each line with one write(), which the kernel keeps whole between processes. spdlog's own
/// file sinks write through stdio and may split a line.
class AppendSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    explicit AppendSink(int descriptor) : descriptor(descriptor) {
        set_formatter_(std::make_unique<spdlog::pattern_formatter>("%Y-%m-%dT%H:%M:%S.%fZ %P %n %v",
                                                                   spdlog::pattern_time_type::utc));
    }
    ~AppendSink() override { close(descriptor); }
    AppendSink(const AppendSink&) = delete;
    AppendSink& operator=(const AppendSink&) = delete;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        while (write(descriptor, line.data(), line.size()) < 0 && errno == EINTR) {
        }
    }
    void flush_() override {}

private:
    int descriptor;
};

constexpr unsigned kLevelsNotAsked = ~0U;

struct TraceState {
    std::unique_ptr<AppendSink> sink;
    std::string refusal;
};

std::string Open(TraceState& state, const std::string& file, unsigned levels) {
    const int opened =
        open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0600);
    // Above the standard three: a host whose own output is closed must not find the trace in its
    // place.
    const int descriptor = opened < 0 ? -1 : fcntl(opened, F_DUPFD_CLOEXEC, 3);
    const int error = errno;
    if (opened >= 0) {
        close(opened);
    }
    if (descriptor < 0) {
        return "cannot open trace file " + file + ": " + std::strerror(error);
    }
    state.sink = std::make_unique<AppendSink>(descriptor);
    fileLevels = levels & kAllTraceLevels;
    return "";
}

std::string FollowEnvironment(TraceState& state) {
    const char* file = std::getenv("QDM_TRACE");
    if (file == nullptr || *file == '\0') {
        return "";
    }
    unsigned levels = kAllTraceLevels;
    if (const char* mask = std::getenv("QDM_TRACE_LEVEL")) {
        const char* end = mask + std::strlen(mask);
        const auto parsed = std::from_chars(mask, end, levels);
        if (parsed.ec != std::errc() || parsed.ptr != end) {
            return "QDM_TRACE_LEVEL is no number: " + std::string(mask);
        }
    }
    return Open(state, file, levels);
}

// Never destroyed: destructors of other libraries may still trace.
TraceState& State() {
    static TraceState* const state = [] {
        auto made = std::make_unique<TraceState>();
        made->refusal = FollowEnvironment(*made);
        if (!made->sink) {
            fileLevels = 0;
        }
        return made.release();
    }();
    return *state;
}

const char* LevelWord(CTraceUtility::TRACE_DBG_LEVEL level) {
    switch (level) {
        case CTraceUtility::TRACE_DBG_INFO:
            return "INFO ";
        case CTraceUtility::TRACE_DBG_ERROR:
            return "ERROR ";
        case CTraceUtility::TRACE_DBG_FLOW:
            return "FLOW ";
        case CTraceUtility::TRACE_DBG_WARN:
            return "WARN ";
    }
    return "- ";
}

}  // namespace

std::atomic<unsigned> fileLevels{kLevelsNotAsked};

std::string OpenTraceFile(const std::string& file, unsigned levels) {
    return Open(State(), file, levels);
}

std::string TraceEnvironmentRefusal() {
    return State().refusal;
}

unsigned TraceFileLevels() {
    if (fileLevels.load(std::memory_order_relaxed) == kLevelsNotAsked) {
        static_cast<void>(State());
    }
    return fileLevels.load(std::memory_order_relaxed);
}

void WriteTraceLine(const char* file, CTraceUtility::TRACE_DBG_LEVEL level,
                    const std::string& text) {
    TraceState& state = State();
    if (state.sink) {
        state.sink->log({spdlog::source_loc{}, file, spdlog::level::info, LevelWord(level) + text});
    }
}
