#include "qdmctl/Front.h"

#include "host/DllCommon/InstallRoot.h"
#include "qdmctl/AnswerFromJson.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>

namespace qdmctl {
namespace {

constexpr int TickMs = 100;
/// Once the user wants to leave and nothing is being changed, reading calls of tools may take this
/// long, and the worker that: what has been flashed is still checked.
constexpr auto ToolGrace = std::chrono::milliseconds(1000);
constexpr auto WorkerGrace = std::chrono::milliseconds(1700);
constexpr auto OutputCheckInterval = std::chrono::milliseconds(250);

sigset_t EndingSignals() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaddset(&set, number);
    }
    return set;
}

int OpenSignals() {
    const sigset_t set = EndingSignals();
    return ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

bool IsYes(const std::string& reply) {
    return reply == "y" || reply == "Y" || reply == "yes";
}

const char* NameOf(unsigned number) {
    return number == SIGINT ? "interrupt" : number == SIGHUP ? "hang-up" : "termination request";
}

}  // namespace

void BlockEndingSignals() {
    const sigset_t set = EndingSignals();
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
}

Front::Front(Channel& channel, StepBoard& board, pid_t worker)
    : channel(channel),
      board(board),
      worker(worker),
      signals(OpenSignals()),
      toolOutput(worker, GetInstallRoot().path + "/tmp") {}

std::optional<Output> Front::Run() {
    while (!output && Serve()) {
        LookAtBoard();
        progress.Tick();
        CheckOutput();
        CheckDeadlines();
    }
    ::close(signals);
    progress.Clear();
    return output;
}

void Front::AwaitEnd() const {
    while (::waitpid(worker, nullptr, 0) < 0 && errno == EINTR) {
    }
}

/// Waits a little for the worker or a signal; false when the worker has ended.
bool Front::Serve() {
    pollfd entries[] = {{channel.Descriptor(), POLLIN, 0}, {signals, POLLIN, 0}};
    if (::poll(entries, 2, TickMs) <= 0) {
        return true;
    }
    if (entries[1].revents != 0) {
        OnSignal();
    }
    if (entries[0].revents == 0) {
        return true;
    }
    const auto frame = channel.Receive();
    if (frame) {
        OnFrame(*frame);
    }
    return frame.has_value();
}

void Front::OnSignal() {
    signalfd_siginfo info{};
    while (::read(signals, &info, sizeof info) == sizeof info) {
        Interrupt(NameOf(info.ssi_signo));
    }
}

void Front::Interrupt(const char* why) {
    if (ChangingStepRuns()) {
        progress.Note(std::string("qdmctl: ") + why +
                      ": the running step changes the server and is never ended; the run stops "
                      "after it. Do not power off.");
    } else if (!interrupted) {
        progress.Note(std::string("qdmctl: ") + why + ": stopping");
    }
    if (!interrupted) {
        interrupted = true;
        interruptedAt = Clock::now();
        board.Call();
        channel.Send(FrameType::Stop);
    }
}

void Front::OnFrame(const Frame& frame) {
    switch (frame.type) {
        case FrameType::Step:
            OnStep(frame.text);
            break;
        case FrameType::StepEnd:
            if (ChangingStepRuns()) {
                interruptedAt = Clock::now();
            }
            running.reset();
            progress.End();
            // News over the channel may be older than what was seen on the board.
            board.LookAgain();
            break;
        case FrameType::Question:
            channel.Send(AskUser(frame.text) ? FrameType::Go
                         : interrupted       ? FrameType::Stop
                                             : FrameType::No);
            break;
        case FrameType::Output:
            output = OutputFromText(frame.text);
            break;
        case FrameType::Partial:
            reported = FromJson(frame.text);
            break;
        default:
            break;
    }
}

/// A signal answers the question too: it ends the run. So does an end of the input.
bool Front::AskUser(const std::string& question) {
    progress.Note(question + " [y/N]");
    std::string reply;
    char byte = 0;
    while (!interrupted) {
        pollfd entries[] = {{STDIN_FILENO, POLLIN, 0}, {signals, POLLIN, 0}};
        ::poll(entries, 2, -1);
        if (entries[1].revents != 0) {
            OnSignal();
        } else if (::read(STDIN_FILENO, &byte, 1) != 1) {
            return false;
        } else if (byte == '\n') {
            return IsYes(reply);
        } else {
            reply += byte;
        }
    }
    return false;
}

void Front::OnStep(const std::string& text) {
    auto step = StepFromText(text);
    if (!step) {
        return;
    }
    if (step->changing && interrupted) {
        channel.Send(FrameType::Stop);
        return;
    }
    onBoard = false;
    BeginStep(std::move(*step));
    // From here on nothing of the worker is ended until it says that the step is over.
    if (running->changing) {
        channel.Send(FrameType::Go);
    }
}

/// A changing step is ended by its own word alone.
void Front::LookAtBoard() {
    std::optional<Step> step;
    if (ChangingStepRuns() || !board.Look(step)) {
        return;
    }
    if (step) {
        onBoard = true;
        BeginStep(std::move(*step));
    } else if (onBoard) {
        running.reset();
        progress.End();
    }
}

void Front::BeginStep(Step step) {
    running = std::move(step);
    stepBegun = Clock::now();
    outputChecked = stepBegun;  // a short step is not worth a look at every process
    progress.Begin(*running);
}

/// Output without end must not fill the disk.
void Front::CheckOutput() {
    const auto now = Clock::now();
    if (!running || running->guarded || now - outputChecked < OutputCheckInterval) {
        return;
    }
    outputChecked = now;
    if (ChangingStepRuns()) {
        toolOutput.ReleaseSpace();
    } else if (toolOutput.TooLong()) {
        toolOutput.EndAndDiscard();
    }
}

void Front::CheckDeadlines() {
    if (ChangingStepRuns()) {
        return;
    }
    const auto now = Clock::now();
    const bool late = running && running->deadlineMs > 0 &&
                      now - stepBegun > std::chrono::milliseconds(running->deadlineMs);
    const auto leaving = interrupted ? now - interruptedAt : Clock::duration::zero();
    if (late || leaving > ToolGrace) {
        toolOutput.EndAndDiscard();
    }
    if (leaving > WorkerGrace) {
        ::kill(worker, SIGKILL);
    } else if (leaving > ToolGrace) {
        ::kill(worker, SIGUSR1);
    }
}

}  // namespace qdmctl
