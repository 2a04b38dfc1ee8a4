#include "qdmctl/CallRecord.h"

#include "qdmctl/Answer.h"

#include <algorithm>
#include <charconv>

namespace qdmctl {
namespace {

constexpr char UnreadableMessage[] = "MSGID_EMULEX_FC_0008_F";
constexpr char MismatchMessage[] = "MSGID_EMULEX_FC_0009_F";
constexpr std::size_t PlaceOfVersion = 1;  ///< among the inserts of those two

/// Which insert of a message is the last-error code. The messages about versions carry none.
std::optional<std::size_t> PlaceOfLastError(const std::string& messageId) {
    if (messageId == "MSGID_EMULEX_FC_0019_F") {
        return 0;
    }
    if (messageId == UnreadableMessage || messageId == MismatchMessage) {
        return std::nullopt;
    }
    return 1;
}

}  // namespace

CallRecord::CallRecord(unsigned levels) : levels(levels), outer(SetHostObserver(this)) {}

CallRecord::~CallRecord() {
    SetHostObserver(outer);
}

unsigned CallRecord::TraceLevels() const {
    return levels;
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

bool CallRecord::TellsUnreadable() const {
    // One of the modules uses the other's message for this, too; the version itself tells it.
    return std::any_of(messages.begin(), messages.end(), [](const HostMessage& message) {
        return message.inserts.size() > PlaceOfVersion &&
               IsUnreadable(message.inserts[PlaceOfVersion]) &&
               (message.id == UnreadableMessage || message.id == MismatchMessage);
    });
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
