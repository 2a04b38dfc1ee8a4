#include "host/DllCommon/HostObserver.h"

#include "host/DllCommon/Observation.h"

#include <utility>

namespace {

HostObserver* current = nullptr;
bool observing = false;

/// An observer's own calls are not shown to it.
class Observing {
public:
    Observing() { observing = true; }
    ~Observing() { observing = false; }
    Observing(const Observing&) = delete;
    Observing& operator=(const Observing&) = delete;
};

}  // namespace

HostObserver::~HostObserver() = default;

HostObserver* SetHostObserver(HostObserver* observer) {
    return std::exchange(current, observer);
}

unsigned ObservedLevels() {
    return current == nullptr || observing ? 0 : current->TraceLevels();
}

void ObserveTrace(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& line) {
    if (current != nullptr && !observing) {
        const Observing guard;
        current->OnTrace(level, line);
    }
}

void ObserveMessage(const HostMessage& message) {
    if (current != nullptr && !observing) {
        const Observing guard;
        current->OnMessage(message);
    }
}
