#include "qdmctl/FrontWatch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qdmctl {
namespace {

using Clock = std::chrono::steady_clock;

/// Takes and returns memory until something is so: a signal handler that took some would hang here.
bool WorkUntil(const std::function<bool()>& done, std::chrono::milliseconds most) {
    const auto begun = Clock::now();
    while (!done() && Clock::now() - begun < most) {
        std::vector<std::unique_ptr<std::string>> texts;
        for (std::size_t i = 0; i < 100; ++i) {
            texts.push_back(std::make_unique<std::string>(10 * i, 'x'));
        }
    }
    return done();
}

pid_t StartSleep() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::execlp("sleep", "sleep", "100", nullptr);
        ::_exit(1);
    }
    return child;
}

/// A changing step whose front process dies keeps what it has started, until it has ended.
std::string WorkInChangingStep(int channel) {
    FrontWatch watch(channel);
    const pid_t child = StartSleep();
    bool ended = false;
    const auto look = [&] { return ended = ended || ::waitpid(child, nullptr, WNOHANG) == child; };
    watch.SetChanging(true);
    static_cast<void>(::send(channel, "1", 1, 0));  // the front process may die now
    if (!WorkUntil([&] { return watch.FrontIsGone(); }, std::chrono::seconds(20))) {
        return "its end was not noticed";
    }
    if (WorkUntil(look, std::chrono::milliseconds(1500))) {
        return "a changing step was ended";
    }
    watch.SetChanging(false);
    return WorkUntil(look, std::chrono::seconds(20)) ? "ok" : "a reading step was not ended";
}

std::string WorkForOneThatIsGone(int channel) {
    static_cast<void>(::send(channel, "1", 1, 0));
    char byte = 0;
    while (::read(channel, &byte, 1) > 0) {
    }
    const FrontWatch watch(channel);
    if (!watch.FrontIsGone()) {
        return "its end was not noticed";
    }
    for (int tool = 1; tool <= 2; ++tool) {  // the provider tries again what has failed
        const pid_t child = StartSleep();
        const auto ended = [child] { return ::waitpid(child, nullptr, WNOHANG) != 0; };
        if (!WorkUntil(ended, std::chrono::seconds(20))) {
            return "reading step " + std::to_string(tool) + " was not ended";
        }
    }
    return "ok";
}

/// What a worker tells whose front process ends as soon as it has heard of it.
std::string ToldBy(std::string (*work)(int channel)) {
    int result[2] = {-1, -1};
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(result, O_CLOEXEC), 0);
    const pid_t front = ::fork();
    if (front == 0) {
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        if (::fork() == 0) {
            ::close(ends[0]);
            const std::string told = work(ends[1]);
            ::_exit(::write(result[1], told.data(), told.size()) > 0 ? 0 : 1);
        }
        ::close(ends[1]);
        char byte = 0;
        ::_exit(::read(ends[0], &byte, 1) == 1 ? 0 : 1);
    }
    ::close(result[1]);
    EXPECT_EQ(::waitpid(front, nullptr, 0), front);
    char told[64] = {};
    pollfd entry{result[0], POLLIN, 0};
    const bool came = ::poll(&entry, 1, 60000) > 0;
    const ssize_t size = came ? ::read(result[0], told, sizeof told) : 0;
    ::close(result[0]);
    return std::string(told, static_cast<std::size_t>(size));
}

TEST(FrontWatch, EndsReadingStepsOnlyWhenTheFrontProcessIsGone) {
    EXPECT_EQ(ToldBy(WorkInChangingStep), "ok");
    EXPECT_EQ(ToldBy(WorkForOneThatIsGone), "ok");
}

}  // namespace
}  // namespace qdmctl
