#include "qdmctl/WorkAreaCheck.h"

#include "qdmctl/StateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace qdmctl {
namespace {

constexpr char ProbeFile[] = "/tmp/qdmctl/probe";
/// An adapter list and a few attribute files; what an update needs beyond that is checked with its
/// package.
constexpr std::size_t ProbeBytes = 65536;

Error FolderError(const std::string& folder, const std::string& what) {
    return MakeError(ErrorId::WorkArea, folder + " " + what,
                     "the work area holds scripts that run as root: it must be folders of root "
                     "alone, writable, and no links");
}

constexpr const char* workFolders[] = {
    "/tmp", "/tmp/EMULEX", "/tmp/EMULEX/cache", "/tmp/EMULEX/temp", "/tmp/qdmctl", stateFolder};

std::optional<Error> CheckFolder(const std::string& folder, uid_t owner) {
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0) {
        return FolderError(folder, std::string("cannot be used: ") + std::strerror(errno));
    }
    if (!S_ISDIR(status.st_mode)) {
        return FolderError(folder, "is not a folder");
    }
    if (status.st_uid != owner) {
        return FolderError(folder, "belongs to another user");
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return FolderError(folder, "is writable for other users");
    }
    return std::nullopt;
}

std::optional<Error> MakeFolder(const std::string& folder) {
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        return errno == ENOSPC
                   ? MakeError(ErrorId::DiskFull, "no space left to create " + folder,
                               "free some space on that disk")
                   : FolderError(folder, std::string("cannot be created: ") + std::strerror(errno));
    }
    return CheckFolder(folder, ::geteuid());
}

/// errno of an attempt to write there, 0 when it went well.
int WriteProbe(const std::string& file) {
    const int descriptor =
        ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0) {
        return errno;
    }
    const std::vector<char> bytes(ProbeBytes, 'x');
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    const int reason = written < 0 ? errno : ENOSPC;
    ::close(descriptor);
    ::unlink(file.c_str());
    return written == static_cast<ssize_t>(bytes.size()) ? 0 : reason;
}

}  // namespace

std::optional<Error> CheckWorkFolders(const std::string& root) {
    if (auto error = CheckFolder(root, ::geteuid())) {
        return error;
    }
    for (const char* folder : workFolders) {
        if (auto error = MakeFolder(root + folder)) {
            return error;
        }
    }
    const int reason = WriteProbe(root + ProbeFile);
    if (reason == ENOSPC || reason == EDQUOT) {
        return MakeError(ErrorId::DiskFull, "no space left below " + root + "/tmp",
                         "free some space on that disk; nothing has been changed");
    }
    if (reason != 0) {
        return FolderError(root + "/tmp/qdmctl",
                           std::string("cannot be written: ") + std::strerror(reason));
    }
    return std::nullopt;
}

std::optional<Error> InspectWorkFolders(const std::string& root) {
    constexpr uid_t owner = 0;
    if (auto error = CheckFolder(root, owner)) {
        return error;
    }
    for (const char* folder : workFolders) {
        struct stat status {};
        if (::lstat((root + folder).c_str(), &status) == 0) {
            if (auto error = CheckFolder(root + folder, owner)) {
                return error;
            }
        }
    }
    return std::nullopt;
}

}  // namespace qdmctl
