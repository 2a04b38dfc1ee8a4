#pragma once

#include "host/DllCommon/HostObserver.h"

#include <optional>
#include <string>
#include <vector>

namespace qdmctl {

/// Levels of the lines that the provider writes about failures.
inline constexpr unsigned FailureLevels = CTraceUtility::TRACE_DBG_ERROR;

/// What the provider reports while this object lives: its operator messages and the lines it writes
/// about failures.
class CallRecord : public HostObserver {
public:
    /// `levels` are those of the trace lines that are kept.
    explicit CallRecord(unsigned levels = FailureLevels);
    ~CallRecord() override;
    CallRecord(const CallRecord&) = delete;
    CallRecord& operator=(const CallRecord&) = delete;

    unsigned TraceLevels() const override;
    void OnTrace(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& line) override;
    void OnMessage(const HostMessage& message) override;

    bool Has(const std::string& messageId) const;

    /// Whether a version that an update was to bring was told to be unreadable.
    bool TellsUnreadable() const;

    /// Identifier of the last operator message; empty when there was none.
    std::string MessageId() const;

    /// The last-error code that the last message carries, where it carries one.
    std::optional<unsigned long> LastError() const;

    /// The lines kept, in their order.
    const std::vector<std::string>& Details() const { return details; }

private:
    unsigned levels;
    HostObserver* outer;
    std::vector<HostMessage> messages;
    std::vector<std::string> details;
};

}  // namespace qdmctl
