#include "qdmctl/ProgressDisplay.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace qdmctl {
namespace {

constexpr auto FirstDraw =
    std::chrono::milliseconds(500);  ///< quick steps are not worth a line that flickers
constexpr auto NextDraw = std::chrono::seconds(1);
// Where lines stay.
constexpr auto SignOfLife = std::chrono::seconds(30);
constexpr auto SignOfLifeOfChange = std::chrono::seconds(10);
constexpr int NoteWaitMs = 1000;

bool CanRedraw() {
    const char* terminal = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) == 1 && terminal != nullptr &&
           std::strcmp(terminal, "dumb") != 0;
}

std::string ElapsedText(ProgressDisplay::Clock::duration elapsed) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    char text[32];
    std::snprintf(text, sizeof text, "%02lld:%02lld", static_cast<long long>(seconds / 60),
                  static_cast<long long>(seconds % 60));
    return text;
}

/// Standard error may be a closed pipe or terminal, or one that nobody reads; nothing depends on
/// what is shown there, and nothing waits for it.
void Write(const std::string& text, int waitMs) {
    for (std::size_t written = 0; written < text.size();) {
        pollfd entry{STDERR_FILENO, POLLOUT, 0};
        const auto size = std::min<std::size_t>(text.size() - written, PIPE_BUF);
        if (::poll(&entry, 1, waitMs) <= 0 ||
            ::write(STDERR_FILENO, text.data() + written, size) < 0) {
            return;
        }
        written += size;
    }
}

}  // namespace

ProgressDisplay::ProgressDisplay() : redraw(CanRedraw()) {}

ProgressDisplay::~ProgressDisplay() {
    Clear();
}

void ProgressDisplay::Begin(const Step& next) {
    step = next;
    active = true;
    begun = Clock::now();
    nextDraw = begun + (redraw ? Clock::duration(FirstDraw) : Interval());
    const std::string title = step.phase + step.device;
    const bool news = step.announce && title != announced;
    if (redraw ? drawn || step.changing : news) {
        announced = title;
        Draw();
    }
}

void ProgressDisplay::End() {
    active = false;
}

void ProgressDisplay::Tick() {
    if (active && Clock::now() >= nextDraw) {
        Draw();
        nextDraw = Clock::now() + Interval();
    }
}

ProgressDisplay::Clock::duration ProgressDisplay::Interval() const {
    if (redraw) {
        return NextDraw;
    }
    return step.changing ? SignOfLifeOfChange : SignOfLife;
}

void ProgressDisplay::Note(const std::string& text) {
    Clear();
    Write(text + "\n", NoteWaitMs);
}

unsigned ProgressDisplay::Width() {
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return 80;
}

std::string ProgressDisplay::Line() const {
    std::string line = redraw ? "" : "qdmctl: ";
    if (step.number > 0) {
        line += "[" + std::to_string(step.number) + "/" + std::to_string(step.total) + "] ";
    }
    line += step.phase;
    if (!step.device.empty()) {
        line += " " + step.device;
    }
    const std::string end =
        " " + ElapsedText(Clock::now() - begun) + (step.changing ? " - do not power off" : "");
    if (redraw && line.size() + end.size() >= Width()) {
        line.resize(Width() > end.size() ? Width() - end.size() - 1 : 0);
    }
    return line + end;
}

void ProgressDisplay::Draw() {
    if (!redraw) {
        Write(Line() + "\n", 0);
        return;
    }
    Write("\r" + Line().substr(0, Width() - 1) + "\x1b[K", 0);
    drawn = true;
}

void ProgressDisplay::Clear() {
    if (redraw && drawn) {
        Write("\r\x1b[K", 0);
        drawn = false;
    }
}

}  // namespace qdmctl
