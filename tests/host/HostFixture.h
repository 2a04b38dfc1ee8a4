#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/DllCommon/HostObserver.h"

/// The folder that all tests write to; it is the install root, too.
const std::string& TestFolder();

/// A new empty folder below it.
std::string NewFolder();

void WriteText(const std::string& file, const std::string& text);
std::string ReadText(const std::string& file);

/// Names of all entries of a folder, subfolders included.
std::vector<std::string> EntriesOf(const std::string& folder);

/// Records what the host reports for as long as it lives.
class Recorder : public HostObserver {
public:
    explicit Recorder(unsigned levels = 0) : levels(levels), before(SetHostObserver(this)) {}
    ~Recorder() override { SetHostObserver(before); }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    unsigned TraceLevels() const override { return levels; }
    void OnTrace(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& line) override {
        lines.emplace_back(level, line);
    }
    void OnMessage(const HostMessage& message) override { messages.push_back(message); }

    std::vector<std::pair<CTraceUtility::TRACE_DBG_LEVEL, std::string>> lines;
    std::vector<HostMessage> messages;

private:
    unsigned levels;
    HostObserver* before;
};
