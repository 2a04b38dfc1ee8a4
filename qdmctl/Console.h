#pragma once

#include "qdmctl/Channel.h"
#include "qdmctl/FrontWatch.h"
#include "qdmctl/Step.h"
#include "qdmctl/StepBoard.h"

#include <string>
#include <utility>

namespace qdmctl {

struct Answer;

/// What a command says to the front process while it runs in the worker, and what it hears from it.
class Console {
public:
    Console(Channel& channel, StepBoard& board)
        : channel(channel), board(board), watch(channel.Descriptor()) {}

    /// Announces a step. A changing step begins only when the front process agrees, so that the
    /// front process always knows whether something runs that must not be ended. False: stop, the
    /// step may not begin.
    [[nodiscard]] bool Begin(const Step& step);
    void End(const Step& step);

    /// Keeps the answer that holds if this process ends without another word.
    void Report(const Answer& answer);

    /// Asks the user. False also when nobody is there to answer.
    [[nodiscard]] bool Ask(const std::string& question);

    /// True once the user wants the run to end. Steps that have begun are finished, others are not
    /// begun.
    bool StopRequested();

private:
    bool AwaitConsent();

    Channel& channel;
    StepBoard& board;
    FrontWatch watch;
    bool stop = false;
};

/// A step that ends with its scope.
class StepScope {
public:
    StepScope(Console& console, Step step)
        : console(console), step(std::move(step)), begun(console.Begin(this->step)) {}
    ~StepScope() {
        if (begun) {
            console.End(step);
        }
    }
    StepScope(const StepScope&) = delete;
    StepScope& operator=(const StepScope&) = delete;

    explicit operator bool() const { return begun; }

private:
    Console& console;
    Step step;
    bool begun;
};

}  // namespace qdmctl
