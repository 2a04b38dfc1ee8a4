#pragma once

#include "qdmctl/Answer.h"
#include "qdmctl/Channel.h"
#include "qdmctl/ProgressDisplay.h"
#include "qdmctl/ToolOutput.h"

#include <sys/types.h>
#include <optional>
#include <string>

namespace qdmctl {

/// Blocks the signals by which a user ends a run; to be called before the worker is made, so that
/// none is lost.
void BlockEndingSignals();

/// The process that the user started, while a worker drives the provider: shows progress, takes
/// signals, ends reading steps that hang, and ends up with the answer. It never ends what a
/// changing step has started.
class Front {
public:
    /// Takes the channel to the worker `worker`. The signals that end a run (see
    /// BlockEndingSignals) are blocked.
    Front(Channel& channel, pid_t worker);

    /// Returns the worker's answer once the worker has ended. When it ended without one, the last
    /// that it reported is returned, with an error that says so; empty when it reported none.
    [[nodiscard]] std::optional<Answer> Run();

    bool Interrupted() const { return interrupted; }

    /// True when Run returned what the worker last reported and not its answer.
    bool WorkerLost() const { return !answered; }

    /// After Run: the worker was lost in a step that changes the server.
    bool ChangingStepRuns() const { return running && running->changing; }

private:
    using Clock = ProgressDisplay::Clock;

    bool Serve();
    void OnSignal();
    void OnFrame(const Frame& frame);
    void OnStep(const std::string& text);
    bool AskUser(const std::string& question);
    void Interrupt(const char* why);
    void CheckOutput();
    void CheckDeadlines();

    Channel& channel;
    pid_t worker;
    int signals;
    ToolOutput toolOutput;
    ProgressDisplay progress;
    std::optional<Step> running;
    Clock::time_point stepBegun;
    Clock::time_point outputChecked;
    Clock::time_point interruptedAt;
    bool interrupted = false;
    bool answered = false;
    std::optional<Answer> answer;
};

}  // namespace qdmctl
