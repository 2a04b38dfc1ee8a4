#include "qdmctl/Console.h"

#include "qdmctl/AnswerJson.h"

namespace qdmctl {

bool Console::Begin(const Step& step) {
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

void Console::End() {
    watch.SetChanging(false);
    if (joining) {
        channel.SendWithNext(FrameType::StepEnd);
    } else {
        channel.Send(FrameType::StepEnd);
    }
}

void Console::JoinSteps(bool value) {
    joining = value;
    if (!joining) {
        channel.Flush();
    }
}

void Console::Report(const Answer& answer) {
    channel.Send(FrameType::Partial, ToJson(answer));
}

bool Console::Ask(const std::string& question) {
    return !StopRequested() && channel.Send(FrameType::Question, question) && AwaitConsent();
}

bool Console::StopRequested() {
    while (!stop && channel.Ready()) {
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
