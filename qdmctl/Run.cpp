#include "qdmctl/Run.h"

#include "qdmctl/Answer.h"
#include "qdmctl/Command.h"
#include "qdmctl/Limits.h"
#include "qdmctl/Options.h"
#include "qdmctl/Output.h"
#include "qdmctl/Worker.h"

#include <poll.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <climits>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace qdmctl {
namespace {

constexpr char UnknownCommandSchema[] = "qdm.error/1";

constexpr int LookMs = 100;
constexpr int LooksAfterSignal = 10;

bool SignalWaits() {
    sigset_t waiting;
    return ::sigpending(&waiting) == 0 &&
           (::sigismember(&waiting, SIGINT) == 1 || ::sigismember(&waiting, SIGTERM) == 1 ||
            ::sigismember(&waiting, SIGHUP) == 1);
}

/// Waits for a reader. False when it does not read and the user has asked for the end: signals are
/// held back while an answer is on its way, so that it gets there whole.
bool CanWrite(int descriptor) {
    for (int looks = 0; looks < LooksAfterSignal; looks += SignalWaits() ? 1 : 0) {
        pollfd entry{descriptor, POLLOUT, 0};
        if (::poll(&entry, 1, LookMs) > 0) {
            return true;
        }
    }
    return false;
}

/// Nothing is lost when nobody reads any more: the work is done, and the exit code still tells how.
void Print(int descriptor, const std::string& text) {
    for (std::size_t written = 0; written < text.size() && CanWrite(descriptor);) {
        // A pipe with room at all takes so much without a wait.
        const auto size = std::min<std::size_t>(text.size() - written, PIPE_BUF);
        const ssize_t count = ::write(descriptor, text.data() + written, size);
        if (count < 0 && errno != EINTR) {
            return;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

int Tell(const Output& output) {
    Print(output.toErrors ? STDERR_FILENO : STDOUT_FILENO, output.text);
    return output.exitCode;
}

Output Refusal(const char* schema, bool json, Error error) {
    Answer answer;
    answer.schema = schema;
    answer.result = Result::Failed;
    answer.exitCode = ExitCodeOf(error.id);
    answer.errors.push_back(std::move(error));
    return OutputOf(answer, json, StylesOfStreams());
}

/// The options are not known when the command line is wrong.
bool AsksForJson(int argc, const char* const* argv) {
    return std::any_of(argv, argv + argc,
                       [](const char* word) { return std::strcmp(word, "--json") == 0; });
}

bool NobodyToAsk(const Options& options) {
    return (options.command->options & Confirmation) != 0 && !options.yes && !options.dryRun &&
           ::isatty(STDIN_FILENO) == 0;
}

int Execute(const Options& options) {
    if (NobodyToAsk(options)) {
        return Tell(Refusal(
            options.command->schema, options.json,
            MakeError(ErrorId::Usage, "nobody can be asked here whether the server may be changed",
                      "add --yes to go ahead without a question, or --dry-run to look only")));
    }
    if (auto error = LiftLimits()) {
        return Tell(Refusal(options.command->schema, options.json, std::move(*error)));
    }
    // Nothing is left to be put away, and the user waits.
    std::_Exit(RunInWorker(options, Tell));
}

/// The usual end of an exception that cannot even be made. The end by a signal tells nobody
/// anything; of a worker it is told by the front process.
[[noreturn]] void EndForLackOfMemory() {
    constexpr std::string_view text = "qdmctl: ended for lack of memory (see ulimit -v)\n";
    static_cast<void>(!::write(STDERR_FILENO, text.data(), text.size()));
    ::_exit(ExitCodeOf(ErrorId::Limits));
}

}  // namespace

int Run(int argc, const char* const* argv) {
    std::signal(SIGPIPE, SIG_IGN);
    std::set_terminate(EndForLackOfMemory);
    const CommandLine line = ParseCommandLine(argc, argv);
    if (line.proceed) {
        return Execute(line.options);
    }
    if (!line.wrong) {
        Print(STDOUT_FILENO, line.text);
        return 0;
    }
    return Tell(Refusal(UnknownCommandSchema, AsksForJson(argc, argv),
                        MakeError(ErrorId::Usage, line.text, line.hint)));
}

}  // namespace qdmctl
