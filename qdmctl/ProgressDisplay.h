#pragma once

#include "qdmctl/Step.h"

#include <chrono>
#include <string>

namespace qdmctl {

/// Shows on standard error that a run lives: one line that is redrawn where a terminal can do so,
/// elsewhere a line for each step worth it and a sign of life now and then.
class ProgressDisplay {
public:
    using Clock = std::chrono::steady_clock;

    ProgressDisplay();
    ~ProgressDisplay();
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void Begin(const Step& step);
    void End();

    /// To be called often; draws when it is time to.
    void Tick();

    /// Takes the line away, before something else is written.
    void Clear();

    /// A line that stays.
    void Note(const std::string& text);

    /// Width of the terminal on standard error; 80 where there is none.
    static unsigned Width();

private:
    void Draw();
    Clock::duration Interval() const;
    std::string Line() const;

    bool redraw;
    bool drawn = false;
    bool active = false;
    Step step;
    std::string announced;
    Clock::time_point begun;
    Clock::time_point nextDraw;
};

}  // namespace qdmctl
