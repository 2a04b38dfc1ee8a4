#include "qdmctl/CallRecord.h"

#include <algorithm>
#include <charconv>

namespace qdmctl {
namespace {

/// Which insert of a message is the last-error code. The messages about versions carry none.
std::optional<std::size_t> PlaceOfLastError(const std::string& messageId) {
    if (messageId == "MSGID_EMULEX_FC_0019_F") {
        return 0;
    }
    if (messageId == "MSGID_EMULEX_FC_0008_F" || messageId == "MSGID_EMULEX_FC_0009_F") {
        return std::nullopt;
    }
    return 1;
}

}  // namespace

CallRecord::CallRecord() : outer(SetHostObserver(this)) {}

CallRecord::~CallRecord() {
    SetHostObserver(outer);
}

unsigned CallRecord::TraceLevels() const {
    return CTraceUtility::TRACE_DBG_ERROR;
}

void CallRecord::OnTrace(CTraceUtility::TRACE_DBG_LEVEL, const std::string& line) {
    details.push_back(line);
}

void CallRecord::OnMessage(const HostMessage& message) {
    messages.push_back(message);
}

bool CallRecord::Has(const std::string& messageId) const {
    return std::any_of(messages.begin(), messages.end(),
                       [&](const HostMessage& message) { return message.id == messageId; });
}

std::string CallRecord::MessageId() const {
    return messages.empty() ? std::string() : messages.back().id;
}

std::optional<unsigned long> CallRecord::LastError() const {
    if (messages.empty()) {
        return std::nullopt;
    }
    const auto place = PlaceOfLastError(messages.back().id);
    if (!place || *place >= messages.back().inserts.size()) {
        return std::nullopt;
    }
    const std::string& text = messages.back().inserts[*place];
    unsigned long code = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), code, 16);
    const bool whole = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
    return whole ? std::optional<unsigned long>(code) : std::nullopt;
}

}  // namespace qdmctl
