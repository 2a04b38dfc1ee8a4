#pragma once

#include "qdmctl/ReaderProcess.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace qdmctl {

/// Reading calls of the provider beside each other, each process with one of them at a time: the
/// provider is used from one thread. A call that hangs or whose process dies costs no other.
class ParallelRead {
public:
    enum class Outcome {
        NotBegun,   ///< stopped before, or there was no process for it
        Done,       ///< the call has succeeded
        Failed,     ///< the call has told a failure
        OutOfTime,  ///< ended at its deadline, with the tools that it had started
        Lost        ///< its process was ended by somebody else; its tools were ended then
    };

    struct Limits {
        std::size_t processes = 1;
        std::chrono::milliseconds deadline{0};  ///< of each call
        std::string folder;                     ///< where the tools' output goes, see ToolOutput
    };

    ParallelRead(Limits limits, ReaderProcess::Call call);

    /// Makes the calls 0 to `count` - 1 and returns their outcomes. No call begins once `stopped`;
    /// those that run are awaited.
    [[nodiscard]] std::vector<Outcome> Run(std::size_t count, const std::function<bool()>& stopped);

private:
    using Clock = std::chrono::steady_clock;

    struct Reader {
        std::unique_ptr<ReaderProcess> process;  ///< null: to be made when there is a call for it
        std::size_t number = 0;
        bool busy = false;
        Clock::time_point begun;
    };

    void BeginCalls();
    Reader* FreeReader();
    bool AnyBusy() const;
    void Await();
    void CheckDeadlines();
    void CheckOutput();
    void End(Reader& reader, Outcome outcome);

    Limits limits;
    ReaderProcess::Call call;
    std::vector<Reader> readers;
    std::vector<Outcome> outcomes;
    std::size_t next = 0;
    Clock::time_point outputChecked;
};

}  // namespace qdmctl
