#include "qdmctl/Console.h"

#include "qdmctl/AnswerJson.h"

namespace qdmctl {
namespace {

/// What a person sees only if it lasts, and what needs no consent.
bool IsQuiet(const Step& step) {
    return !step.changing && !step.announce;
}

}  // namespace

bool Console::Begin(const Step& step) {
    if (IsQuiet(step)) {
        board.Show(step);
        return true;
    }
    if (step.changing && StopRequested()) {
        return false;
    }
    if (!channel.Send(FrameType::Step, ToText(step))) {
        stop = true;
    }
    if (!step.changing) {
        return true;
    }
    const bool begun = !stop && AwaitConsent();
    watch.SetChanging(begun);
    return begun;
}

void Console::End(const Step& step) {
    if (IsQuiet(step)) {
        board.Clear();
        return;
    }
    watch.SetChanging(false);
    channel.Send(FrameType::StepEnd);
}

void Console::Report(const Answer& answer) {
    channel.Send(FrameType::Partial, ToJson(answer));
}

bool Console::Ask(const std::string& question) {
    return !StopRequested() && channel.Send(FrameType::Question, question) && AwaitConsent();
}

bool Console::StopRequested() {
    const bool news = board.Called() || watch.FrontIsGone();
    while (!stop && news && channel.Ready()) {
        const auto frame = channel.Receive();
        stop = !frame || frame->type == FrameType::Stop;
    }
    return stop;
}

bool Console::AwaitConsent() {
    const auto frame = channel.Receive();
    if (frame && frame->type == FrameType::Go) {
        return true;
    }
    stop = !frame || frame->type != FrameType::No;
    return false;
}

}  // namespace qdmctl
