#include "host/DllCommon/HostObserver.h"

#include "host/DllCommon/Observation.h"
#include "host/DllCommon/TraceLevels.h"

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

std::atomic<unsigned> observedLevels{0};

HostObserver* SetHostObserver(HostObserver* observer) {
    observedLevels = observer == nullptr ? 0 : observer->TraceLevels();
    return std::exchange(current, observer);
}

unsigned ObservedLevels() {
    return observing ? 0 : observedLevels.load(std::memory_order_relaxed);
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
