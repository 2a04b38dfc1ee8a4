#pragma once

#include "qdmctl/Step.h"

#include <cstdint>
#include <optional>

namespace qdmctl {

/// The reading step at hand, in memory that worker and front process share. There are several for
/// each port, mostly over in no time; the front process looks now and then, and neither wakes nor
/// awaits the other for them, nor asks the system whether there is news.
class StepBoard {
public:
    /// To be made before the worker is, of which it is the same object then.
    StepBoard();
    ~StepBoard();
    StepBoard(const StepBoard&) = delete;
    StepBoard& operator=(const StepBoard&) = delete;

    /// False where there was no memory for it. Nothing else may be called then.
    explicit operator bool() const { return shared != nullptr; }

    /// In the worker. Texts longer than 63 bytes are cut.
    void Show(const Step& step);
    void Clear();

    /// In the front process: the worker shall look for what has been sent to it. It stays so.
    void Call();
    bool Called() const;

    /// In the front process: true when the board has changed since the last look, with what stands
    /// there now. A change that is being made counts for the next look.
    [[nodiscard]] bool Look(std::optional<Step>& step);

    /// The next look takes what stands there, seen or not.
    void LookAgain() { seen = 0; }

private:
    struct Note;
    struct Shared;

    void Write(const Note& note);

    Shared* shared;
    std::uint64_t seen = 0;
};

}  // namespace qdmctl
