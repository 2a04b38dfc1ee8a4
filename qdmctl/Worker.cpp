#include "qdmctl/Worker.h"

#include "host/ComLib/Pauses.h"
#include "host/DllCommon/TraceSink.h"
#include "qdmctl/Answer.h"
#include "qdmctl/Command.h"
#include "qdmctl/Console.h"
#include "qdmctl/Front.h"
#include "qdmctl/Options.h"
#include "qdmctl/Output.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <csignal>
#include <cstring>
#include <exception>
#include <utility>

namespace qdmctl {
namespace {

/// The front process wants the worker to wind up; what the provider waits for does not come any
/// more.
void OnWindUp(int) {
    EndPauses();
}

void SetSignals() {
    struct sigaction windUp {};
    windUp.sa_handler = OnWindUp;
    ::sigaction(SIGUSR1, &windUp, nullptr);
    std::signal(SIGPIPE, SIG_DFL);  // tools expect it
    // The front process takes these; one that is sent to both must not end what is being changed.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_IGN);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Errors are not fatal here: the streams may not exist at all, and nothing depends on them.
void Redirect(const std::string& traceFile) {
    const char* output = traceFile.empty() ? "/dev/null" : traceFile.c_str();
    const int in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int out = ::open(output, O_WRONLY | O_APPEND | O_CLOEXEC);
    ::dup2(in, STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(out, STDERR_FILENO);
}

Answer Failure(const Options& options, Error error) {
    Answer answer;
    answer.hasComponents = options.command->needsRepository;
    answer.errors.push_back(std::move(error));
    return answer;
}

std::string OpenTrace(const Options& options) {
    return options.traceFile.empty() ? TraceEnvironmentRefusal() : OpenTraceFile(options.traceFile);
}

Answer TraceRefused(const Options& options, const std::string& refusal) {
    return Failure(options, MakeError(ErrorId::Usage, "no trace can be written: " + refusal,
                                      "name a file that root can write"));
}

Answer RunCommand(const Options& options, Console& console) {
    try {
        return options.command->run(options, console);
    } catch (const std::exception& exception) {
        return Failure(options,
                       MakeError(ErrorId::Internal, exception.what(),
                                 "run the command again with --trace FILE and report the trace"));
    }
}

/// When the worker was lost: what it had reported until then, and why that is not all.
Answer LostAnswer(const Front& front, const Options& options) {
    Answer answer = front.Reported().value_or(Answer{});
    answer.hasComponents = options.command->needsRepository;
    if (front.ChangingStepRuns()) {
        answer.errors.push_back(MakeError(
            ErrorId::Internal, "the worker process was ended while it changed the server",
            "what it had started may still be at work: do not power off, wait until no hbacmd, "
            "rpm, depmod or install script runs any more, then look with qdmctl list"));
    } else if (front.Interrupted()) {
        answer.errors.push_back(MakeError(ErrorId::Interrupted, "the run was ended by the user",
                                          "nothing was being changed at that moment"));
    } else {
        answer.errors.push_back(
            MakeError(ErrorId::Internal, "the worker process ended without an answer",
                      "what it had done until then is told; look with qdmctl list before the "
                      "update is repeated"));
    }
    return answer;
}

Output Concluded(Answer answer, const Options& options, const StreamStyles& styles) {
    Conclude(answer, options.command->schema);
    return OutputOf(answer, options.json, styles);
}

Output OutputOfFront(Front& front, const Options& options, const StreamStyles& styles) {
    auto output = front.Run();
    return output ? std::move(*output) : Concluded(LostAnswer(front, options), options, styles);
}

}  // namespace

void RunWorker(const Options& options, const StreamStyles& styles, Channel& channel,
               StepBoard& board) {
    ::setsid();
    SetSignals();
    const std::string refusal = OpenTrace(options);
    if (refusal.empty()) {
        Redirect(options.traceFile);
    }
    Console console(channel, board);
    Answer answer = refusal.empty() ? RunCommand(options, console) : TraceRefused(options, refusal);
    channel.Send(FrameType::Output, ToText(Concluded(std::move(answer), options, styles)));
    std::_Exit(0);  // the user waits for it
}

int RunInWorker(const Options& options, int (*tell)(const Output& output)) {
    BlockEndingSignals();
    const StreamStyles styles = StylesOfStreams();
    StepBoard board;
    int ends[2] = {-1, -1};
    pid_t worker = -1;
    if (board && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0) {
        worker = ::fork();
    }
    Channel front(ends[0]);
    if (worker == 0) {
        ::close(ends[0]);
        Channel channel(ends[1]);
        RunWorker(options, styles, channel, board);
    }
    const int error = errno;
    ::close(ends[1]);
    if (worker > 0) {
        Front watch(front, board, worker);
        const int exitCode = tell(OutputOfFront(watch, options, styles));
        watch.AwaitEnd();
        return exitCode;
    }
    return tell(Concluded(
        Failure(options, MakeError(ErrorId::Internal,
                                   std::string("no worker process: ") + std::strerror(error),
                                   "free some memory or processes and try again")),
        options, styles));
}

}  // namespace qdmctl
