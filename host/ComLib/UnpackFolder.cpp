#include "host/ComLib/UnpackFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/CTraceUtility.h"

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::string LastPart(const std::string& name) {
    const auto slash = name.rfind('/');
    return slash == std::string::npos ? name : name.substr(slash + 1);
}

std::string Failure(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

}  // namespace

UnpackFolder::~UnpackFolder() {
    file = Descriptor();
    for (auto what = written.rbegin(); what != written.rend(); ++what) {
        Remove(*what);
    }
}

std::string UnpackFolder::Open(const std::string& path) {
    root = Descriptor(open(path.c_str(), kFolderFlags));
    return root ? "" : Failure("cannot open the folder to unpack to");
}

std::string UnpackFolder::Begin(const ArchiveMember& member) {
    file = Descriptor();
    if (!wanted.empty() && (member.folder || wanted.count(member.name) == 0)) {
        return "";
    }
    const Descriptor parent = Parent(member.name, true);
    if (!parent) {
        return Failure("cannot make the folders above it");
    }
    if (member.folder) {
        return Enter(parent, member.name, true) ? "" : Failure("cannot make the folder");
    }
    // Modes in the archive are not taken over: nothing is unpacked as a program, set-user-id least.
    file = Descriptor(openat(parent.Get(), LastPart(member.name).c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) {
        return Failure("cannot make the file");
    }
    written.push_back({member.name, false});
    return "";
}

std::string UnpackFolder::Data(const char* data, std::size_t size) {
    while (file && size > 0) {
        const ssize_t done = write(file.Get(), data, size);
        if (done < 0 && errno != EINTR) {
            return Failure("cannot be written");
        }
        const auto step = done > 0 ? static_cast<std::size_t>(done) : 0;
        data += step;
        size -= step;
    }
    return "";
}

std::string UnpackFolder::End(const ArchiveMember&) {
    // Some file systems tell of a full disk only now.
    if (file && close(file.Release()) != 0) {
        return Failure("cannot be written");
    }
    return "";
}

/// The folder that holds `name`; none, with errno, when it cannot be entered or made.
Descriptor UnpackFolder::Parent(const std::string& name, bool make) {
    Descriptor folder(fcntl(root.Get(), F_DUPFD_CLOEXEC, 3));
    for (auto slash = name.find('/'); folder && slash != std::string::npos;
         slash = name.find('/', slash + 1)) {
        folder = Enter(folder, name.substr(0, slash), make);
    }
    return folder;
}

Descriptor UnpackFolder::Enter(const Descriptor& parent, const std::string& path, bool make) {
    const std::string part = LastPart(path);
    if (make && mkdirat(parent.Get(), part.c_str(), 0700) == 0) {
        written.push_back({path, true});
    }
    return Descriptor(openat(parent.Get(), part.c_str(), kFolderFlags));
}

void UnpackFolder::Remove(const Written& what) {
    const Descriptor parent = Parent(what.name, false);
    const int flags = what.folder ? AT_REMOVEDIR : 0;
    if (!parent || unlinkat(parent.Get(), LastPart(what.name).c_str(), flags) != 0) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN,
                                  "Unpacked member not removed (%s): %s", std::strerror(errno),
                                  what.name.c_str());
    }
}
