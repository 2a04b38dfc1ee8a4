#include "qdmctl/RunLock.h"

#include "qdmctl/BootIdentifier.h"
#include "qdmctl/FileAccess.h"
#include "qdmctl/ProcessTree.h"

#include <unistd.h>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <vector>

namespace qdmctl {
namespace {

constexpr char ChangeLockFile[] = "/qdmctl.lock";
constexpr char ReadLockFile[] = "/qdmctl-read.lock";
constexpr long ShortWaitMs = 100;

std::string HolderNote(const std::string& purpose) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char since[32];
    std::strftime(since, sizeof since, "%Y-%m-%d %H:%M:%S", &local);
    return "qdmctl " + purpose + " (process " + std::to_string(::getpid()) + ", since " + since +
           ")\n" + std::to_string(::getpid()) + " " + BootIdentifier() + "\n";
}

/// The note is for people; a lock without one still holds.
void WriteNote(int descriptor, const std::string& note) {
    if (::ftruncate(descriptor, 0) != 0 || ::pwrite(descriptor, note.data(), note.size(), 0) < 0) {
        return;
    }
}

std::string ReadNote(const std::string& file) {
    const std::string text = ReadBeginning(file).value_or("");
    const std::string note = text.substr(0, text.find('\n'));
    return note.empty() ? "another changing run" : note;
}

/// Who has left a note without taking it back, if that was in this boot.
pid_t LostHolder(const std::string& file) {
    const std::string text = ReadBeginning(file).value_or("");
    const std::size_t line = text.find('\n') + 1;
    const std::size_t blank = text.find(' ', line);
    if (line == 0 || blank == std::string::npos) {
        return 0;
    }
    pid_t holder = 0;
    std::from_chars(text.data() + line, text.data() + blank, holder);
    const std::string boot = text.substr(blank + 1, text.find('\n', line) - blank - 1);
    return holder > 0 && boot == BootIdentifier() ? holder : 0;
}

}  // namespace

RunLock::~RunLock() {
    if (holdsNote) {
        WriteNote(change.Descriptor(), "");
    }
}

bool RunLock::LeftAtWork(const std::string& file) {
    const pid_t holder = LostHolder(file);
    const auto left = holder > 0 ? PidsLeftBy(holder) : std::vector<pid_t>();
    if (left.empty()) {
        return false;
    }
    text = ReadNote(file) + " was killed, and what it had begun, process " +
           std::to_string(left.front()) + ",";
    change.Unlock();
    return true;
}

RunLock::Result RunLock::Fail(const std::string& file) {
    diskFull = IsDiskFull(errno);
    text = "cannot lock " + file + ": " + std::strerror(errno);
    return Result::Failed;
}

RunLock::Result RunLock::TakeOver(const std::string& file, const std::string& purpose) {
    if (LeftAtWork(file)) {
        return Result::Busy;
    }
    holdsNote = true;
    WriteNote(change.Descriptor(), HolderNote(purpose));
    return Result::Held;
}

RunLock::Result RunLock::AcquireChanging(const std::string& root, const std::string& purpose,
                                         const std::function<bool()>& stopped) {
    const std::string file = root + ChangeLockFile;
    while (!stopped()) {
        const auto locked = change.Lock(file, FileLock::Mode::Exclusive, ShortWaitMs);
        if (locked == FileLock::Result::Locked) {
            return TakeOver(file, purpose);
        }
        if (locked == FileLock::Result::Failed) {
            return Fail(file);
        }
        // Shared is free only when none but reading runs are in the way; those end soon.
        FileLock probe;
        if (probe.Lock(file, FileLock::Mode::Shared, 0) == FileLock::Result::Busy) {
            text = ReadNote(file);
            return Result::Busy;
        }
    }
    return Result::Stopped;
}

RunLock::Result RunLock::AcquireReading(const std::string& root,
                                        const std::function<bool()>& stopped) {
    const std::string changeFile = root + ChangeLockFile;
    const auto shared = change.Lock(changeFile, FileLock::Mode::Shared, 0);
    if (shared == FileLock::Result::Busy) {
        text = ReadNote(changeFile);
        return Result::Busy;
    }
    if (shared == FileLock::Result::Failed) {
        return Fail(changeFile);
    }
    if (LeftAtWork(changeFile)) {
        return Result::Busy;
    }
    const std::string readFile = root + ReadLockFile;
    while (!stopped()) {
        const auto alone = read.Lock(readFile, FileLock::Mode::Exclusive, ShortWaitMs);
        if (alone != FileLock::Result::Busy) {
            return alone == FileLock::Result::Locked ? Result::Held : Fail(readFile);
        }
    }
    return Result::Stopped;
}

}  // namespace qdmctl
