#include "host/CTraceUtility.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "host/DllCommon/EventLog.h"
#include "host/DllCommon/MessageCatalogue.h"
#include "host/DllCommon/MessageTable.h"
#include "host/DllCommon/Observation.h"
#include "host/DllCommon/TraceLevels.h"
#include "host/DllCommon/TraceSink.h"
#include "host/DllCommon/VisibleText.h"

namespace {

/// A line may quote a tool's output; longer ones are cut here.
constexpr std::size_t kLongestLine = 16384;

std::string Formatted(const char* format, va_list arguments) {
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    if (length < 0) {
        return std::string("(cannot be formatted) ") + format;
    }
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    return {text, std::min(static_cast<std::size_t>(length), kLongestLine)};
}

std::vector<std::string> Inserts(std::size_t number, va_list arguments) {
    std::vector<std::string> inserts;
    for (std::size_t i = 0; i < number; ++i) {
        const char* insert = va_arg(arguments, const char*);
        inserts.emplace_back(insert == nullptr ? "" : insert);
    }
    return inserts;
}

HostMessage UnknownMessage(const char* id) {
    return {id, "error", {}, "(unknown message)"};
}

HostMessage KnownMessage(const char* id, const std::vector<std::string>& inserts) {
    const MessageCatalogue& catalogue = MessageCatalogue::Installed();
    return {id, catalogue.Severity(id), inserts, catalogue.Text(id, inserts)};
}

/// Kept out of its caller, most calls of which have nothing to write.
[[gnu::noinline]] void WriteLine(const char* file, CTraceUtility::TRACE_DBG_LEVEL level,
                                 const char* format, va_list arguments) {
    const unsigned toFile = TraceFileLevels() & level;
    const unsigned toObserver = ObservedLevels() & level;
    if (toFile == 0 && toObserver == 0) {
        return;
    }
    const std::string line = VisibleText(Formatted(format, arguments));
    if (toFile != 0) {
        WriteTraceLine(file == nullptr ? "-" : file, level, line);
    }
    if (toObserver != 0) {
        ObserveTrace(level, line);
    }
}

}  // namespace

void CTraceUtility::WriteDebug(const char* file, TRACE_DBG_LEVEL level, const char* format, ...) {
    if (!MayBeTraced(level) || format == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    WriteLine(file, level, format, arguments);
    va_end(arguments);
}

void CTraceUtility::WriteTrace(const char*, const char* messageId, ...) {
    if (messageId == nullptr) {
        return;
    }
    HostMessage message = UnknownMessage(messageId);
    if (const auto number = MessageTable::InsertsOf(messageId)) {
        va_list arguments;
        va_start(arguments, messageId);
        const std::vector<std::string> inserts = Inserts(*number, arguments);
        va_end(arguments);
        message = KnownMessage(messageId, inserts);
    }
    LogEvent(message);
    ObserveMessage(message);
}
