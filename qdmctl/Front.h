#pragma once

#include "qdmctl/Answer.h"
#include "qdmctl/Channel.h"
#include "qdmctl/Output.h"
#include "qdmctl/ProgressDisplay.h"
#include "qdmctl/StepBoard.h"
#include "qdmctl/ToolOutput.h"

#include <sys/types.h>
#include <optional>
#include <string>

namespace qdmctl {

/// Blocks the signals by which a user ends a run; to be called before the worker is made, so that
/// none is lost.
void BlockEndingSignals();

/// The process that the user started, while a worker drives the provider: shows progress, takes
/// signals, ends reading steps that hang, and ends up with what is to be printed. It never ends
/// what a changing step has started.
class Front {
public:
    /// Takes what leads to the worker `worker`. The signals that end a run (see
    /// BlockEndingSignals) are blocked.
    Front(Channel& channel, StepBoard& board, pid_t worker);

    /// Returns what the worker wants to be printed; it is about to end then. Empty when it was
    /// lost.
    [[nodiscard]] std::optional<Output> Run();

    /// After Run: waits for the end of the worker.
    void AwaitEnd() const;

    bool Interrupted() const { return interrupted; }

    /// The answer that a lost worker had reported last.
    const std::optional<Answer>& Reported() const { return reported; }

    /// After Run: the worker was lost in a step that changes the server.
    bool ChangingStepRuns() const { return running && running->changing; }

private:
    using Clock = ProgressDisplay::Clock;

    bool Serve();
    void OnSignal();
    void OnFrame(const Frame& frame);
    void OnStep(const std::string& text);
    void LookAtBoard();
    void BeginStep(Step step);
    bool AskUser(const std::string& question);
    void Interrupt(const char* why);
    void CheckOutput();
    void CheckDeadlines();

    Channel& channel;
    StepBoard& board;
    pid_t worker;
    int signals;
    ToolOutput toolOutput;
    ProgressDisplay progress;
    std::optional<Step> running;
    bool onBoard = false;  ///< where the running step was seen
    Clock::time_point stepBegun;
    Clock::time_point outputChecked;
    Clock::time_point interruptedAt;
    bool interrupted = false;
    std::optional<Answer> reported;
    std::optional<Output> output;
};

}  // namespace qdmctl
