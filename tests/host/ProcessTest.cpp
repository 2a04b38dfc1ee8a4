#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <thread>
#include <tuple>

#include "host/CCommon_Information.h"
#include "host/ComLib/Pauses.h"
#include "host/Sleep.h"
#include "tests/host/HostFixture.h"

namespace {

constexpr unsigned long kNoLimit = ULONG_MAX;

int Execute(const std::string& command, const std::string& output = "",
            unsigned long* code = nullptr, unsigned long limit = kNoLimit,
            const std::string& folder = "") {
    return CCommon_Information::ExecForeignModule(command, output, folder, code, limit);
}

/// Gives what was left in the background time to come to the state that is asked for.
template <typename Condition>
bool Eventually(Condition condition) {
    for (int i = 0; i < 1000 && !condition(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

/// A process that has ended may stay in the table where nobody waits for orphans.
bool IsRunning(const std::string& pid) {
    std::ifstream file("/proc/" + pid + "/stat");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto name = text.rfind(") ");
    return name != std::string::npos && text[name + 2] != 'Z' && text[name + 2] != 'X';
}

std::size_t OpenDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

void TakeAnyChild(int) {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

/// A signal's handling for as long as it lives.
struct SignalSetting {
    SignalSetting(int number, void (*handler)(int))
        : number(number), before(signal(number, handler)) {}
    ~SignalSetting() { signal(number, before); }

    const int number;
    void (*const before)(int);
};

}  // namespace

TEST(Process, ResultsAndOutput) {
    const std::string folder = NewFolder();
    const std::string output = folder + "/out";
    const std::tuple<const char*, unsigned long, const char*> rows[] = {
        {"printf 'a b'; exit 7", 7, "a b"},
        {"pwd >&2", 0, ""},
        {"kill -9 $$", 137, ""},
        {"cat; echo end of input", 0, "end of input\n"}};
    WriteText(folder + "/typed", "typed");
    ASSERT_NE(std::freopen((folder + "/typed").c_str(), "r", stdin), nullptr);
    for (const auto& [command, expected, text] : rows) {
        SCOPED_TRACE(command);
        WriteText(output, "older and longer than all of them");
        unsigned long code = 99;
        EXPECT_EQ(Execute(command, output, &code), 0);
        EXPECT_EQ(code, expected);
        EXPECT_EQ(ReadText(output), text);
    }
    EXPECT_EQ(Execute("pwd", output, nullptr, kNoLimit, folder), 0);
    EXPECT_EQ(ReadText(output), folder + "\n");
}

TEST(Process, NotStarted) {
    const std::string folder = NewFolder();
    const std::string marker = folder + "/ran";
    const std::string command = "touch " + marker;
    WriteText(folder + "/target", "kept");
    std::filesystem::create_symlink(folder + "/target", folder + "/link");
    for (const char* name : {"/pipe", "/read"}) {
        ASSERT_EQ(mkfifo((folder + name).c_str(), 0600), 0);
    }
    const int reader = open((folder + "/read").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {command, "", folder + "/missing"}, {command, folder + "/missing/out", ""},
        {command, folder + "/link", ""},    {command, folder + "/pipe", ""},
        {command, folder + "/read", ""},    {command + std::string("\0x", 2), "", ""}};
    for (const auto& [line, output, workFolder] : rows) {
        SCOPED_TRACE(output + workFolder);
        Recorder recorder(CTraceUtility::TRACE_DBG_ERROR);
        unsigned long code = 99;
        EXPECT_EQ(Execute(line, output, &code, kNoLimit, workFolder), 1);
        EXPECT_EQ(code, 99U);
        EXPECT_FALSE(std::filesystem::exists(marker));
        EXPECT_EQ(recorder.lines.size(), 1U) << "the reason is traced";
    }
    EXPECT_EQ(ReadText(folder + "/target"), "kept");
    close(reader);
}

TEST(Process, TimeOutEndsTheWholeGroup) {
    const std::string pids = NewFolder() + "/pids";
    EXPECT_EQ(
        Execute("(sleep 300 & echo $! > " + pids + "; wait) | cat & sleep 300", "", nullptr, 400),
        255);
    const std::string grandchild = std::to_string(std::stol(ReadText(pids)));
    EXPECT_TRUE(Eventually([&] { return !IsRunning(grandchild); }));
}

TEST(Process, DaemonLeftBehindHoldsNobodyUpAndLivesOn) {
    const std::string folder = NewFolder();
    const std::string command = "cd " + folder +
                                "; (while [ ! -e go ]; do sleep 0.02; done; echo more;"
                                " echo lost >&2; echo alive > proof; exec sleep 300) & echo $!";
    unsigned long code = 99;
    // A wait for the end of the output would never return: the daemon waits for the file below.
    ASSERT_EQ(Execute(command, folder + "/out", &code), 0);
    EXPECT_EQ(code, 0U);
    WriteText(folder + "/go", "");
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(folder + "/proof"); }));
    const long pid = std::stol(ReadText(folder + "/out"));
    EXPECT_TRUE(IsRunning(std::to_string(pid)));
    kill(static_cast<pid_t>(pid), SIGKILL);
}

TEST(Process, PassesNoDescriptorMaskOrDispositionOn) {
    const std::string output = NewFolder() + "/out";
    const int leaky = fcntl(STDIN_FILENO, F_DUPFD, 50);
    ASSERT_GE(leaky, 50);
    const SignalSetting ignored(SIGTERM, SIG_IGN);
    sigset_t mask;
    sigset_t before;
    sigemptyset(&mask);
    sigaddset(&mask, SIGINT);
    pthread_sigmask(SIG_BLOCK, &mask, &before);
    const std::size_t open = OpenDescriptors();
    EXPECT_EQ(Execute("ls /proc/self/fd; grep -E 'Sig(Blk|Ign)' /proc/self/status", output), 0);
    EXPECT_EQ(OpenDescriptors(), open);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(leaky);
    // 3 is the folder that ls reads; the C library keeps signals 32 and 33 to itself.
    const std::regex form("0\n1\n2\n3\nSigBlk:\t0{16}\nSigIgn:\t0{7}[01][08]0{7}\n");
    EXPECT_TRUE(std::regex_match(ReadText(output), form)) << ReadText(output);
}

TEST(Process, KeepsTheStatusWhateverTheProgramDoesWithChildSignals) {
    for (void (*handler)(int) : {SIG_DFL, SIG_IGN, TakeAnyChild}) {
        const SignalSetting setting(SIGCHLD, handler);
        unsigned long code = 0;
        EXPECT_EQ(Execute("sleep 0.02; exit 7", "", &code), 0);
        EXPECT_EQ(code, 7U);
        struct sigaction after = {};
        sigaction(SIGCHLD, nullptr, &after);
        EXPECT_EQ(after.sa_handler, handler);
    }
}

TEST(Process, PausesLastUntilTheirEndIsAskedFor) {
    using Clock = std::chrono::steady_clock;
    const auto lasts = [](int milliseconds) {
        const auto begun = Clock::now();
        Sleep(static_cast<unsigned long>(milliseconds));
        return Clock::now() - begun >= std::chrono::milliseconds(milliseconds);
    };
    const SignalSetting setting(SIGALRM, TakeAnyChild);
    const itimerval soon = {{0, 0}, {0, 5000}};  // interrupts the pause, which lasts all the same
    setitimer(ITIMER_REAL, &soon, nullptr);
    EXPECT_TRUE(lasts(30));
    EXPECT_TRUE(lasts(1010));
    const pid_t child = fork();
    if (child == 0) {
        EndPauses();
        _exit(lasts(100000) ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(Process, ErrorLinesGoToTheTraceAndEndlessOutputFillsNeitherDiskNorTrace) {
    const std::string output = NewFolder() + "/out";
    Recorder recorder(CTraceUtility::TRACE_DBG_WARN);
    EXPECT_EQ(Execute("printf 'one\\n\\ntwo\\033[31m\\nlast' >&2"), 0);
    std::string text;
    for (const auto& [level, line] : std::exchange(recorder.lines, {})) {
        text += line + "|";
    }
    EXPECT_EQ(text, "stderr: one|stderr: two\\x1b[31m|stderr: last|");
    EXPECT_EQ(
        Execute("head -c 100000000 /dev/zero; head -c 5000000 /dev/zero | tr '\\0' x >&2; echo >&2",
                output),
        0);
    EXPECT_LE(std::filesystem::file_size(output), 64U << 20);
    std::size_t traced = 0;
    for (const auto& [level, line] : recorder.lines) {
        EXPECT_LE(line.size(), 4200U);
        traced += line.size();
    }
    EXPECT_GT(traced, 500000U);
    EXPECT_LE(traced, 1200000U);
}
