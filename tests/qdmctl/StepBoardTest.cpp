#include "qdmctl/StepBoard.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qdmctl {
namespace {

TEST(StepBoard, ShowsTheStepThatStandsThereAndEachChangeOnce) {
    StepBoard board;
    ASSERT_TRUE(board);
    std::optional<Step> seen;
    EXPECT_FALSE(board.Look(seen)) << "nothing has happened yet";
    const Step step{2, 9, "reading versions", "0000:03:00.0", false, false, true, 60000};
    board.Show({0, 0, "before", "", false, false, false, 1});
    board.Show(step);
    ASSERT_TRUE(board.Look(seen) && seen);
    EXPECT_EQ(ToText(*seen), ToText(step));
    EXPECT_FALSE(board.Look(seen)) << "seen already";
    board.Clear();
    EXPECT_TRUE(board.Look(seen) && !seen);
    board.Show({0, 0, std::string(200, 'p'), "", false, false, false, 1});
    ASSERT_TRUE(board.Look(seen) && seen);
    EXPECT_EQ(seen->phase, std::string(63, 'p'));
}

/// Shows two steps in turn until it is called, but not for ever.
[[noreturn]] void Work(StepBoard& board) {
    for (int i = 0; i < 100000000 && !board.Called(); ++i) {
        const char letter = i % 2 == 0 ? 'a' : 'b';
        board.Show({0, 0, std::string(40, letter), {letter}, false, false, false, 1});
    }
    board.Clear();
    ::_exit(0);
}

TEST(StepBoard, NeverShowsAWorkersStepsByHalves) {
    StepBoard board;
    ASSERT_TRUE(board);
    const pid_t worker = ::fork();
    if (worker == 0) {
        Work(board);
    }
    int halves = 0;
    std::optional<Step> seen;
    for (int looks = 0; looks < 2000 && ::waitpid(worker, nullptr, WNOHANG) == 0;) {
        if (board.Look(seen)) {
            halves += seen && seen->phase == std::string(40, seen->device[0]) ? 0 : 1;
            ++looks;
        }
    }
    EXPECT_EQ(halves, 0);
    board.Call();
    ASSERT_EQ(::waitpid(worker, nullptr, 0), worker) << "it ends when it is called, not before";
    EXPECT_TRUE(board.Look(seen) && !seen);
}

}  // namespace
}  // namespace qdmctl
