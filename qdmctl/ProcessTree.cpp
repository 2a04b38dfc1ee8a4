#include "qdmctl/ProcessTree.h"

#include "qdmctl/FileAccess.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qdmctl {
namespace {

struct Process {
    pid_t pid = 0;
    pid_t parent = 0;                ///< 0: the process is gone
    unsigned long long started = 0;  ///< with the identifier, one process for good
    pid_t group = 0;
    pid_t session = 0;
};

// What ends processes runs in signal handlers too: nothing up to EndDescendants takes memory of the
// heap, or locks.

/// Numbers between blanks.
class Fields {
public:
    explicit Fields(std::string_view text) : rest(text) {}

    void Skip(int count) {
        for (int i = 0; i < count; ++i) {
            Word();
        }
    }

    template <class Number>
    void Read(Number& number) {
        const std::string_view word = Word();
        whole = std::from_chars(word.data(), word.data() + word.size(), number).ec == std::errc() &&
                whole;
    }

    /// Whether all that was read was a number.
    bool Whole() const { return whole; }

private:
    std::string_view Word() {
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
        const std::string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(word.size());
        return word;
    }

    std::string_view rest;
    bool whole = true;
};

Process ParseStat(pid_t pid, std::string_view text) {
    // The program's name stands in parentheses and may hold anything, parentheses too.
    const auto end = text.rfind(')');
    if (end == std::string_view::npos || text.compare(end, 3, ") Z") == 0) {
        return {};  // it has ended
    }
    constexpr int state = 1;
    constexpr int betweenSessionAndStart = 15;
    Process process;
    process.pid = pid;
    Fields fields(text.substr(end + 1));
    fields.Skip(state);
    fields.Read(process.parent);
    fields.Read(process.group);
    fields.Read(process.session);
    fields.Skip(betweenSessionAndStart);
    fields.Read(process.started);
    return fields.Whole() ? process : Process{};
}

Process Look(pid_t pid) {
    constexpr std::string_view folder = "/proc/";
    constexpr std::string_view file = "/stat";
    std::array<char, 32> path{};
    char* const digits = std::copy(folder.begin(), folder.end(), path.data());
    const auto number = std::to_chars(digits, path.data() + path.size() - file.size() - 1, pid);
    std::copy(file.begin(), file.end(), number.ptr);
    const FileHandle stat(::open(path.data(), O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> text;
    const ssize_t size = ::read(stat.Get(), text.data(), text.size());
    return size > 0 ? ParseStat(pid, {text.data(), static_cast<std::size_t>(size)}) : Process{};
}

/// Calls `visit` with every process of the machine.
template <class Visit>
void VisitProcesses(Visit visit) {
    OpenFolder folder("/proc");
    while (const char* name = folder.Next()) {
        const char* const end = name + std::strlen(name);
        pid_t pid = 0;
        const bool numbered = std::from_chars(name, end, pid).ptr == end;
        const Process process = numbered ? Look(pid) : Process{};
        if (process.parent != 0) {
            visit(process);
        }
    }
}

/// The process may have ended meanwhile and its identifier be another's; the handle cannot.
void Send(const Process& process, int signal) {
    const FileHandle handle(static_cast<int>(::syscall(SYS_pidfd_open, process.pid, 0)));
    if (Look(process.pid).started != process.started) {
        return;
    }
    if (handle.IsOpen()) {
        ::syscall(SYS_pidfd_send_signal, handle.Get(), signal, nullptr, 0);
    } else {
        ::kill(process.pid, signal);  // a kernel without such handles
    }
}

/// The descendants of a process, as they are found.
class Family {
public:
    explicit Family(pid_t ancestor)
        : ancestor(ancestor),
          memory(::mmap(nullptr, capacity * sizeof(Process), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)),
          members(memory == MAP_FAILED ? nullptr : static_cast<Process*>(memory)) {}
    ~Family() {
        if (members != nullptr) {
            ::munmap(memory, capacity * sizeof(Process));
        }
    }
    Family(const Family&) = delete;
    Family& operator=(const Family&) = delete;

    /// True when a process belongs here and is new. Without room none does.
    bool Add(const Process& process) {
        const bool belongs = process.parent == ancestor || Has(process.parent);
        if (!belongs || Has(process.pid) || members == nullptr || size == capacity) {
            return false;
        }
        members[size++] = process;
        return true;
    }

    const Process* begin() const { return members; }
    const Process* end() const { return members + size; }

private:
    /// As many as there can be on most servers; what is not used takes no memory.
    static constexpr std::size_t capacity = std::size_t{1} << 16U;

    bool Has(pid_t pid) const {
        return std::any_of(begin(), end(), [pid](const Process& one) { return one.pid == pid; });
    }

    pid_t ancestor;
    void* memory;
    Process* members;
    std::size_t size = 0;
};

/// One that is killed while it starts a child would leave that behind where nobody finds it. One
/// that is stopped starts none, and keeps those it has. False when all had been stopped before.
bool StopOthers(Family& stopped) {
    bool more = false;
    VisitProcesses([&](const Process& process) {
        if (stopped.Add(process)) {
            Send(process, SIGSTOP);
            more = true;
        }
    });
    return more;
}

}  // namespace

void EndDescendants(pid_t ancestor) {
    const int kept = errno;
    Family stopped(ancestor);
    while (StopOthers(stopped)) {
    }
    for (const Process& process : stopped) {
        Send(process, SIGKILL);
    }
    errno = kept;
}

std::vector<pid_t> PidsBelow(pid_t ancestor) {
    std::unordered_multimap<pid_t, pid_t> children;
    VisitProcesses([&](const Process& process) { children.emplace(process.parent, process.pid); });
    std::vector<pid_t> pids = {ancestor};
    for (std::size_t i = 0; i < pids.size(); ++i) {
        const auto range = children.equal_range(pids[i]);
        for (auto child = range.first; child != range.second; ++child) {
            pids.push_back(child->second);
        }
    }
    pids.erase(pids.begin());
    return pids;
}

std::vector<pid_t> PidsLeftBy(pid_t worker) {
    std::vector<pid_t> pids;
    bool another = false;  // process by now: a number in use by a session is not given anew
    VisitProcesses([&](const Process& process) {
        another = another || process.pid == worker;
        if (process.session == worker &&
            (process.group == process.pid || process.group == worker)) {
            pids.push_back(process.pid);
        }
    });
    return another ? std::vector<pid_t>() : pids;
}

}  // namespace qdmctl
