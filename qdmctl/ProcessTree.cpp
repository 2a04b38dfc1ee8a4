#include "qdmctl/ProcessTree.h"

#include "qdmctl/FileAccess.h"

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
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

Process Look(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    // The program's name stands in parentheses and may hold anything, parentheses too.
    const auto end = line.rfind(')');
    if (end == std::string::npos) {
        return {};
    }
    if (line.compare(end, 3, ") Z") == 0) {
        return {};  // it has ended
    }
    std::istringstream fields(line.substr(end + 1));
    constexpr int betweenSessionAndStart = 15;
    Process process;
    process.pid = pid;
    std::string skipped;
    fields >> skipped >> process.parent >> process.group >> process.session;
    for (int i = 0; i < betweenSessionAndStart; ++i) {
        fields >> skipped;
    }
    fields >> process.started;
    return fields ? process : Process{};
}

std::unordered_multimap<pid_t, Process> ChildrenByParent() {
    std::unordered_multimap<pid_t, Process> children;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), ::closedir);
    if (!folder) {
        return children;
    }
    while (const dirent* entry = ::readdir(folder.get())) {
        char* end = nullptr;
        const long pid = std::strtol(entry->d_name, &end, 10);
        if (pid > 0 && *end == '\0') {
            const Process process = Look(static_cast<pid_t>(pid));
            children.emplace(process.parent, process);
        }
    }
    return children;
}

std::vector<Process> DescendantsOf(pid_t ancestor) {
    const auto children = ChildrenByParent();
    std::vector<Process> found(1);
    found[0].pid = ancestor;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const auto range = children.equal_range(found[i].pid);
        for (auto child = range.first; child != range.second; ++child) {
            found.push_back(child->second);
        }
    }
    found.erase(found.begin());
    return found;
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

using ProcessMap = std::unordered_map<pid_t, Process>;

/// One that is killed while it starts a child would leave that behind where nobody finds it. One
/// that is stopped starts none, and keeps those it has. False when all had been stopped before.
bool StopOthers(pid_t ancestor, ProcessMap& stopped) {
    const std::size_t before = stopped.size();
    for (const Process& process : DescendantsOf(ancestor)) {
        if (stopped.emplace(process.pid, process).second) {
            Send(process, SIGSTOP);
        }
    }
    return stopped.size() > before;
}

}  // namespace

std::vector<pid_t> PidsBelow(pid_t ancestor) {
    std::vector<pid_t> pids;
    for (const Process& process : DescendantsOf(ancestor)) {
        pids.push_back(process.pid);
    }
    return pids;
}

void EndDescendants(pid_t ancestor) {
    ProcessMap stopped;
    while (StopOthers(ancestor, stopped)) {
    }
    for (const auto& entry : stopped) {
        Send(entry.second, SIGKILL);
    }
}

std::vector<pid_t> PidsLeftBy(pid_t worker) {
    std::vector<pid_t> pids;
    for (const auto& [parent, process] : ChildrenByParent()) {
        if (process.pid == worker) {
            return {};  // another process by now: a number in use by a session is not given anew
        }
        if (process.session == worker &&
            (process.group == process.pid || process.group == worker)) {
            pids.push_back(process.pid);
        }
    }
    return pids;
}

}  // namespace qdmctl
