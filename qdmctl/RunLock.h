#pragma once

#include "host/ComLib/FileLock.h"

#include <functional>
#include <string>

namespace qdmctl {

/// Keeps runs out of each other's way. A changing run holds the lock alone. Reading runs share it,
/// and wait for each other on a second one, since they write the same cache files. The lock ends
/// with its holder; what a holder that was killed has left at work counts as busy all the same.
class RunLock {
public:
    RunLock() = default;
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

    enum class Result { Held, Busy, Stopped, Failed };

    /// `purpose` names the command; `stopped` is asked while waiting for reading runs to end. Busy:
    /// a changing run holds the lock, Text() names it. Failed: Text() is the reason.
    [[nodiscard]] Result AcquireChanging(const std::string& root, const std::string& purpose,
                                         const std::function<bool()>& stopped);
    [[nodiscard]] Result AcquireReading(const std::string& root,
                                        const std::function<bool()>& stopped);

    const std::string& Text() const { return text; }

    /// Why it failed.
    bool DiskFull() const { return diskFull; }

private:
    Result Fail(const std::string& file);
    Result TakeOver(const std::string& file, const std::string& purpose);
    bool LeftAtWork(const std::string& file);

    FileLock change;
    FileLock read;
    std::string text;
    bool diskFull = false;
    bool holdsNote = false;
};

}  // namespace qdmctl
