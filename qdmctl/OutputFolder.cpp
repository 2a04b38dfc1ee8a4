#include "qdmctl/OutputFolder.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace qdmctl {
namespace {

constexpr char FolderHint[] =
    "name a folder that root can write; it may be missing, the folder "
    "above it may not";

std::string WithoutEndSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

/// A name that nobody can have planted.
std::string ScratchName(const std::string& name) {
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) {
        number = static_cast<std::uint64_t>(::getpid());
    }
    return "." + name + "." + std::to_string(number);
}

std::string OpenFailure(const std::string& path) {
    const int reason = errno;
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
        return " is a link; name the folder itself";
    }
    return " cannot be opened: " + SystemText(reason);
}

}  // namespace

std::optional<Error> OutputFolder::Open(const std::string& wanted) {
    path = WithoutEndSlashes(wanted);
    if (path.empty()) {
        return MakeError(ErrorId::Output, "the name of the folder is empty", FolderHint);
    }
    if (::mkdir(path.c_str(), S_IRWXU | S_IRWXG | S_IRWXO) != 0 && errno != EEXIST) {
        return MakeError(IsDiskFull(errno) ? ErrorId::DiskFull : ErrorId::Output,
                         path + " cannot be made: " + SystemText(errno), FolderHint);
    }
    folder = FileHandle(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder.IsOpen()) {
        return MakeError(ErrorId::Output, path + OpenFailure(path), FolderHint);
    }
    return std::nullopt;
}

bool OutputFolder::Holds(const std::string& name) const {
    struct stat status {};
    return ::fstatat(folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

std::optional<Error> OutputFolder::RefusalOf(const std::string& name) const {
    struct stat status {};
    if (::fstatat(folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return MakeError(ErrorId::Output,
                     PathOf(name) + (S_ISLNK(status.st_mode) ? " is a link" : " is no plain file"),
                     "it is left as it is; remove it or name another folder");
}

Error OutputFolder::Failure(const std::string& name, int reason) const {
    const bool full = IsDiskFull(reason);
    return MakeError(
        full ? ErrorId::DiskFull : ErrorId::Output,
        PathOf(name) + " cannot be written: " + SystemText(reason),
        full ? "free some space on that disk; what stood there is unchanged" : FolderHint);
}

/// False with errno.
bool OutputFolder::Stage(const std::string& scratch, const std::string& content) const {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    constexpr mode_t readable = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    const FileHandle file(::openat(folder.Get(), scratch.c_str(), flags, readable));
    return WriteDurably(file, content);
}

void OutputFolder::Remove(const std::vector<std::string>& names) const {
    for (const std::string& name : names) {
        ::unlinkat(folder.Get(), name.c_str(), 0);
    }
}

std::optional<Error> OutputFolder::Write(const std::vector<OutputFile>& files) {
    std::vector<std::string> staged;
    for (const OutputFile& file : files) {
        std::optional<Error> error = RefusalOf(file.name);
        staged.push_back(ScratchName(file.name));
        if (!error && !Stage(staged.back(), file.content)) {
            error = Failure(file.name, errno);
        }
        if (error) {
            Remove(staged);
            return error;
        }
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        const char* name = files[i].name.c_str();
        if (::renameat(folder.Get(), staged[i].c_str(), folder.Get(), name) != 0) {
            const int reason = errno;
            Remove(staged);
            return Failure(files[i].name, reason);
        }
    }
    return std::nullopt;
}

}  // namespace qdmctl
