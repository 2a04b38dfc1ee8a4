#include "qdmctl/StateFile.h"

#include "qdmctl/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>

namespace qdmctl {
namespace {

constexpr std::size_t largestState = std::size_t{1} << 20;

Error Unusable(const std::string& path, const std::string& what) {
    return MakeError(ErrorId::WorkArea, path + " " + what,
                     "it must be a plain file of root alone; nothing has been changed");
}

Error CannotWrite(const std::string& path, int error) {
    const bool full = IsDiskFull(error);
    return MakeError(
        full ? ErrorId::DiskFull : ErrorId::WorkArea,
        path + " cannot be written: " + SystemText(error),
        full ? "free some space on that disk" : "make its folder a writable folder of root alone");
}

/// Why the file is not trusted; empty when it is.
std::string Distrust(const PlainFile& file) {
    struct stat status {};
    if (::fstat(file.handle.Get(), &status) != 0) {
        return SystemText(errno);
    }
    return OtherHands(status, ::geteuid());
}

bool WriteFresh(const std::string& path, const std::string& content) {
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC;
    const FileHandle file(::open(path.c_str(), flags, S_IRUSR | S_IWUSR));
    return WriteDurably(file, content);
}

/// A name that is changed lasts only once its folder has reached the disk.
bool SyncFolder(const std::string& root) {
    const FileHandle folder(
        ::open((root + stateFolder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.IsOpen() && ::fsync(folder.Get()) == 0;
}

}  // namespace

std::string StatePath(const std::string& root, const std::string& name) {
    return root + stateFolder + "/" + name;
}

Loaded<std::optional<std::string>> ReadState(const std::string& root, const std::string& name) {
    PlainFile file = OpenPlainFile(root, std::string(stateFolder).substr(1) + "/" + name);
    if (file.missing) {
        return {std::optional<std::string>(), {}};
    }
    if (file.refusal.empty()) {
        file.refusal = Distrust(file);
    }
    const std::string content = file.refusal.empty() ? ReadWhole(file, largestState) : "";
    if (!file.refusal.empty()) {
        return {std::nullopt, {Unusable(StatePath(root, name), file.refusal)}};
    }
    return {std::optional<std::string>(content), {}};
}

std::optional<Error> WriteState(const std::string& root, const std::string& name,
                                const std::string& content) {
    const std::string path = StatePath(root, name);
    const std::string fresh = path + ".new";
    if (!WriteFresh(fresh, content) || ::rename(fresh.c_str(), path.c_str()) != 0 ||
        !SyncFolder(root)) {
        const Error error = CannotWrite(path, errno);
        ::unlink(fresh.c_str());
        return error;
    }
    return std::nullopt;
}

std::optional<Error> RemoveState(const std::string& root, const std::string& name) {
    const std::string path = StatePath(root, name);
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0 && ::unlink(path.c_str()) == 0) {
        return SyncFolder(root) ? std::nullopt : std::optional<Error>(CannotWrite(path, errno));
    }
    return errno == ENOENT ? std::nullopt : std::optional<Error>(CannotWrite(path, errno));
}

}  // namespace qdmctl
