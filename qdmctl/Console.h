#pragma once

#include "qdmctl/Channel.h"
#include "qdmctl/FrontWatch.h"
#include "qdmctl/Step.h"

#include <string>

namespace qdmctl {

struct Answer;

/// What a command says to the front process while it runs in the worker, and what it hears from it.
class Console {
public:
    explicit Console(Channel& channel) : channel(channel), watch(channel.Descriptor()) {}

    /// Announces a step. A changing step begins only when the front process agrees, so that the
    /// front process always knows whether something runs that must not be ended. False: stop, the
    /// step may not begin.
    [[nodiscard]] bool Begin(const Step& step);
    void End();

    /// While this is set, the end of a step is told together with what follows it: each word wakes
    /// the front process. Clearing it tells what is left.
    void JoinSteps(bool value);

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
    FrontWatch watch;
    bool stop = false;
    bool joining = false;
};

/// A step that ends with its scope.
class StepScope {
public:
    StepScope(Console& console, const Step& step) : console(console), begun(console.Begin(step)) {}
    ~StepScope() {
        if (begun) {
            console.End();
        }
    }
    StepScope(const StepScope&) = delete;
    StepScope& operator=(const StepScope&) = delete;

    explicit operator bool() const { return begun; }

private:
    Console& console;
    bool begun;
};

/// Short reading steps that follow each other, with hardly any work between them.
class StepRow {
public:
    explicit StepRow(Console& console) : console(console) { console.JoinSteps(true); }
    ~StepRow() { console.JoinSteps(false); }
    StepRow(const StepRow&) = delete;
    StepRow& operator=(const StepRow&) = delete;

private:
    Console& console;
};

}  // namespace qdmctl
