#pragma once

#include "host/CTraceUtility.h"

#include <string>
#include <vector>

/// An operator message as it was sent.
struct HostMessage {
    std::string id;  ///< identifier, for example "MSGID_EMULEX_FC_0004_F"
    std::string
        severity;  ///< "error", "warning" or "information"; "error" for an unknown identifier
    std::vector<std::string> inserts;
    std::string text;  ///< the catalogue's text with the inserts in place
};

/// Sees what the running call of a provider reports, so that an answer can name the message and the
/// detail behind a failure. Called on the thread of that call.
class HostObserver {
public:
    virtual ~HostObserver();

    /// Mask of CTraceUtility::TRACE_DBG_LEVEL: the trace lines that OnTrace is called for. It is
    /// asked for when the observer is set.
    virtual unsigned TraceLevels() const = 0;
    virtual void OnTrace(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& line) = 0;
    virtual void OnMessage(const HostMessage& message) = 0;
};

/// Sets the one observer of the process, null for none; returns the one before. It is not owned.
HostObserver* SetHostObserver(HostObserver* observer);
