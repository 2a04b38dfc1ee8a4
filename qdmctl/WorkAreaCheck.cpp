#include "qdmctl/WorkAreaCheck.h"

#include "qdmctl/FileAccess.h"
#include "qdmctl/StateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/uio.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

namespace qdmctl {
namespace {

constexpr char ProbeFile[] = "/probe";
constexpr char ScratchFolder[] = "/tmp/qdmctl";
/// Times a block, 64 KiB: an adapter list and a few attribute files; what an update needs beyond
/// that is checked with its package.
constexpr std::size_t ProbeBlocks = 16;
constexpr std::size_t BlockBytes = 4096;
/// A disk that has so much left for everybody has some of it left for a run that only reads.
constexpr std::size_t PlentyOfBytes = std::size_t{64} << 20U;
constexpr fsfilcnt_t PlentyOfFiles = 1000;

Error FolderError(const std::string& folder, const std::string& what) {
    return MakeError(ErrorId::WorkArea, folder + " " + what,
                     "the work area holds scripts that run as root: it must be folders of root "
                     "alone, writable, and no links");
}

struct WorkFolder {
    const char* path;
    bool holdsFolders;
};

constexpr WorkFolder workFolders[] = {{"/tmp", true},
                                      {"/tmp/EMULEX", true},
                                      {"/tmp/EMULEX/cache", false},
                                      {"/tmp/EMULEX/temp", true},
                                      {ScratchFolder, true},
                                      {stateFolder, false}};

std::optional<Error> JudgeFolder(const std::string& folder, const struct stat& status,
                                 uid_t owner) {
    if (!S_ISDIR(status.st_mode)) {
        return FolderError(folder, "is not a folder");
    }
    const std::string fault = OtherHands(status, owner);
    return fault.empty() ? std::nullopt : std::optional<Error>(FolderError(folder, fault));
}

std::optional<Error> CheckFolder(const std::string& folder, uid_t owner) {
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0) {
        return FolderError(folder, "cannot be used: " + SystemText(errno));
    }
    return JudgeFolder(folder, status, owner);
}

/// What a program writes to must be its own: not reached through a link, and nothing that makes
/// it wait. Files of these folders are opened by tools, too, which look at nothing.
std::optional<Error> JudgeEntry(const std::string& path, const struct stat& status,
                                bool folderAllowed, uid_t owner) {
    const bool sound = S_ISREG(status.st_mode) || (folderAllowed && S_ISDIR(status.st_mode));
    if (sound && status.st_uid == owner) {
        return std::nullopt;
    }
    return MakeError(ErrorId::WorkArea,
                     path + (sound ? " belongs to another user" : " is no plain file"),
                     "look how it came there and remove it; it is made anew where it is needed");
}

std::optional<Error> CheckEntries(const std::string& root, const WorkFolder& folder, uid_t owner) {
    const std::string path = root + folder.path;
    OpenFolder entries(path.c_str());
    while (const char* name = entries.Next()) {
        struct stat status {};
        if (!entries.StatusOf(name, status)) {
            continue;  // gone meanwhile
        }
        if (auto error = JudgeEntry(path + "/" + name, status, folder.holdsFolders, owner)) {
            return error;
        }
    }
    return std::nullopt;
}

std::optional<Error> CheckFiles(const std::string& root, uid_t owner) {
    for (const char* const file : {"/qdmctl.lock", "/qdmctl-read.lock"}) {
        struct stat status {};
        const std::string path = root + file;
        const bool there = ::lstat(path.c_str(), &status) == 0;
        auto error = there ? JudgeEntry(path, status, false, owner) : std::nullopt;
        if (error) {
            return error;
        }
    }
    for (const WorkFolder& folder : workFolders) {
        if (auto error = CheckEntries(root, folder, owner)) {
            return error;
        }
    }
    return std::nullopt;
}

std::optional<Error> MakeFolder(const std::string& folder) {
    struct stat status {};
    if (::lstat(folder.c_str(), &status) == 0) {
        return JudgeFolder(folder, status, ::geteuid());
    }
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        return IsDiskFull(errno) ? MakeError(ErrorId::DiskFull, "no space left to create " + folder,
                                             "free some space on that disk")
                                 : FolderError(folder, "cannot be created: " + SystemText(errno));
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
    std::array<char, BlockBytes> block;
    block.fill('x');  // some disks keep zeros for nothing
    std::array<iovec, ProbeBlocks> blocks{};
    blocks.fill({block.data(), block.size()});
    const ssize_t written = ::writev(descriptor, blocks.data(), ProbeBlocks);
    const int reason = written < 0 ? errno : ENOSPC;
    ::close(descriptor);
    ::unlink(file.c_str());
    return written == static_cast<ssize_t>(ProbeBlocks * BlockBytes) ? 0 : reason;
}

std::optional<Error> CheckWritable(const std::string& folder) {
    const int reason = WriteProbe(folder + ProbeFile);
    if (IsDiskFull(reason)) {
        return MakeError(ErrorId::DiskFull, "no space left below " + folder,
                         "free some space on that disk; nothing has been changed");
    }
    return reason == 0 ? std::nullopt
                       : std::optional<Error>(
                             FolderError(folder, "cannot be written: " + SystemText(reason)));
}

}  // namespace

std::optional<Error> CheckWorkFolders(const std::string& root) {
    if (auto error = CheckFolder(root, ::geteuid())) {
        return error;
    }
    for (const WorkFolder& folder : workFolders) {
        if (auto error = MakeFolder(root + folder.path)) {
            return error;
        }
    }
    return CheckFiles(root, ::geteuid());
}

std::optional<Error> CheckScratchWritable(const std::string& root) {
    return CheckWritable(root + ScratchFolder);
}

bool HasSpaceToSpare(const std::string& root) {
    struct statvfs disk {};
    if (::statvfs((root + ScratchFolder).c_str(), &disk) != 0) {
        return false;
    }
    const bool countsFiles = disk.f_files != 0;
    return disk.f_bavail >= PlentyOfBytes / std::max(disk.f_frsize, 1UL) && disk.f_bavail > 0 &&
           !(countsFiles && disk.f_favail < PlentyOfFiles);
}

std::optional<Error> CheckStateWritable(const std::string& root) {
    return CheckWritable(root + stateFolder);
}

std::optional<Error> InspectWorkFolders(const std::string& root) {
    constexpr uid_t owner = 0;
    if (auto error = CheckFolder(root, owner)) {
        return error;
    }
    for (const WorkFolder& folder : workFolders) {
        struct stat status {};
        const std::string path = root + folder.path;
        const bool seen = ::lstat(path.c_str(), &status) == 0;
        auto error = seen ? CheckFolder(path, owner) : std::nullopt;
        if (error) {
            return error;
        }
    }
    return CheckFiles(root, owner);
}

std::string OpenWorkFolder(const std::string& root) {
    for (const std::string& folder :
         {root, root + "/tmp", root + "/tmp/EMULEX", root + "/tmp/EMULEX/temp"}) {
        struct stat status {};
        if (::lstat(folder.c_str(), &status) != 0 || (status.st_mode & (S_IXGRP | S_IXOTH)) == 0) {
            return {};
        }
    }
    return root + "/tmp";
}

std::optional<Error> CloseWorkFolders(const std::string& root) {
    for (const char* folder : {"/tmp", "/tmp/EMULEX", "/tmp/EMULEX/temp"}) {
        const std::string path = root + folder;
        if (::chmod(path.c_str(), S_IRWXU) != 0) {
            return FolderError(path,
                               "cannot be closed to other users (chmod 700): " + SystemText(errno));
        }
    }
    return std::nullopt;
}

}  // namespace qdmctl
