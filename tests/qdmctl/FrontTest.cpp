#include "qdmctl/Front.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <chrono>
#include <cstdlib>

namespace qdmctl {
namespace {

/// Tells of a step's begin and end, then begins one that only stands on the board, and hangs in it.
[[noreturn]] void Work(Channel& channel, StepBoard& board) {
    const Step told{1, 2, "firm: check", "0000:03:00.0", false, true, false, 60000};
    static_cast<void>(channel.Send(FrameType::Step, ToText(told)));
    static_cast<void>(channel.Send(FrameType::StepEnd));
    board.Show({0, 0, "reading versions", "", false, false, false, 200});
    ::_exit(std::system("exec sleep 100") == 0 ? 0 : 1);
}

TEST(Front, EndsAStepThatBeganOnTheBoardBeforeTheOneToldEnded) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    StepBoard board;
    const pid_t worker = ::fork();
    if (worker == 0) {
        ::close(ends[0]);
        Channel channel(ends[1]);
        Work(channel, board);
    }
    ::close(ends[1]);
    ::usleep(300000);  // all is told and shown before the first look
    Channel channel(ends[0]);
    Front front(channel, board, worker);
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_FALSE(front.Run()) << "the worker has ended without an answer";
    front.AwaitEnd();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(50));
}

}  // namespace
}  // namespace qdmctl
