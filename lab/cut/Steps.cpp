#include "lab/cut/Steps.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace {

/// Where a call says what it concerns: in the argument of that number.
enum class Target { Path, Opened, Descriptor, Process };

struct Kind {
    unsigned number;
    const char* name;
    Target target;
    unsigned argument;
};

constexpr Kind kinds[] = {
    {SYS_open, "open", Target::Opened, 0},
    {SYS_creat, "creat", Target::Path, 0},
    {SYS_openat, "openat", Target::Opened, 1},
    {SYS_write, "write", Target::Descriptor, 0},
    {SYS_pwrite64, "pwrite64", Target::Descriptor, 0},
    {SYS_writev, "writev", Target::Descriptor, 0},
    {SYS_pwritev, "pwritev", Target::Descriptor, 0},
    {SYS_sendfile, "sendfile", Target::Descriptor, 0},
    {SYS_copy_file_range, "copy_file_range", Target::Descriptor, 2},
    {SYS_ftruncate, "ftruncate", Target::Descriptor, 0},
    {SYS_fallocate, "fallocate", Target::Descriptor, 0},
    {SYS_fchmod, "fchmod", Target::Descriptor, 0},
    {SYS_fchown, "fchown", Target::Descriptor, 0},
    {SYS_truncate, "truncate", Target::Path, 0},
    {SYS_rename, "rename", Target::Path, 1},
    {SYS_renameat, "renameat", Target::Path, 3},
    {SYS_renameat2, "renameat2", Target::Path, 3},
    {SYS_link, "link", Target::Path, 1},
    {SYS_linkat, "linkat", Target::Path, 3},
    {SYS_symlink, "symlink", Target::Path, 1},
    {SYS_symlinkat, "symlinkat", Target::Path, 2},
    {SYS_unlink, "unlink", Target::Path, 0},
    {SYS_unlinkat, "unlinkat", Target::Path, 1},
    {SYS_mkdir, "mkdir", Target::Path, 0},
    {SYS_mkdirat, "mkdirat", Target::Path, 1},
    {SYS_rmdir, "rmdir", Target::Path, 0},
    {SYS_chmod, "chmod", Target::Path, 0},
    {SYS_fchmodat, "fchmodat", Target::Path, 1},
    {SYS_chown, "chown", Target::Path, 0},
    {SYS_lchown, "lchown", Target::Path, 0},
    {SYS_fchownat, "fchownat", Target::Path, 1},
    {SYS_execve, "execve", Target::Path, 0},
    {SYS_fork, "fork", Target::Process, 0},
    {SYS_vfork, "vfork", Target::Process, 0},
    {SYS_clone, "clone", Target::Process, 0},
    {SYS_clone3, "clone3", Target::Process, 0},
};

std::string ReadMemory(pid_t process, unsigned long long address, std::size_t length) {
    std::string content(length, '\0');
    const std::string place = "/proc/" + std::to_string(process) + "/mem";
    const int memory = ::open(place.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t count = ::pread(memory, content.data(), length, static_cast<off_t>(address));
    ::close(memory);
    content.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return content;
}

/// Memory is read up to the end of its page, behind which there may be none.
std::string ReadText(pid_t process, unsigned long long address) {
    constexpr std::size_t page = 4096;
    std::string text;
    for (int pages = 0; pages < 2 && text.find('\0') == std::string::npos; ++pages) {
        const unsigned long long from = address + text.size();
        text += ReadMemory(process, from, page - from % page);
    }
    return text.substr(0, text.find('\0'));
}

bool OpensToChange(const __ptrace_syscall_info& call, unsigned path) {
    return (call.seccomp.args[path + 1] & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0;
}

/// A descriptor of a plain file, by the file's name; none of any other.
std::optional<std::string> FileOf(pid_t process, unsigned long long descriptor) {
    const std::string place =
        "/proc/" + std::to_string(process) + "/fd/" + std::to_string(descriptor);
    struct stat status {};
    char name[4096];
    const ssize_t length = ::readlink(place.c_str(), name, sizeof name);
    if (length < 0 || ::stat(place.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return std::string(name, static_cast<std::size_t>(length));
}

std::optional<std::string> ProcessStep(pid_t process, const __ptrace_syscall_info& call) {
    unsigned long long flags = call.seccomp.nr == SYS_clone ? call.seccomp.args[0] : 0;
    if (call.seccomp.nr == SYS_clone3) {
        const std::string read = ReadMemory(process, call.seccomp.args[0], sizeof flags);
        read.copy(reinterpret_cast<char*>(&flags), sizeof flags);
    }
    return (flags & CLONE_THREAD) != 0 ? std::nullopt : std::optional<std::string>("");
}

std::optional<std::string> TargetOf(pid_t process, const __ptrace_syscall_info& call,
                                    const Kind& kind) {
    const unsigned long long argument = call.seccomp.args[kind.argument];
    if (kind.target == Target::Process) {
        return ProcessStep(process, call);
    }
    if (kind.target == Target::Descriptor) {
        return FileOf(process, argument);
    }
    if (kind.target == Target::Opened && !OpensToChange(call, kind.argument)) {
        return std::nullopt;
    }
    const std::string path = ReadText(process, argument);
    const bool device = path.rfind("/dev/", 0) == 0 || path.rfind("/proc/", 0) == 0;
    return device ? std::nullopt : std::optional(path);
}

sock_filter Statement(unsigned code, unsigned value) {
    return {static_cast<unsigned short>(code), 0, 0, value};
}

}  // namespace

bool StopAtSteps() {
    std::vector<sock_filter> filter = {
        Statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const Kind& kind : kinds) {
        filter.push_back({BPF_JMP | BPF_JEQ | BPF_K, 0, 1, kind.number});
        filter.push_back(Statement(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    filter.push_back(Statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

std::optional<std::string> DescribeStep(pid_t process, const __ptrace_syscall_info& call) {
    const auto kind = std::find_if(std::begin(kinds), std::end(kinds),
                                   [&](const Kind& one) { return one.number == call.seccomp.nr; });
    if (call.arch != AUDIT_ARCH_X86_64 || kind == std::end(kinds)) {
        return std::nullopt;
    }
    const auto target = TargetOf(process, call, *kind);
    return target ? std::optional(std::string(kind->name) + " " + *target) : std::nullopt;
}
