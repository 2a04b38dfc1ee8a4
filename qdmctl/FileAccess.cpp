#include "qdmctl/FileAccess.h"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace qdmctl {
namespace {

PlainFile Refused(int error) {
    PlainFile file;
    file.missing = error == ENOENT || error == ENOTDIR;
    file.refusal = error == ELOOP ? "is a link" : SystemText(error);
    return file;
}

PlainFile Inspect(FileHandle handle) {
    struct stat status {};
    if (fstat(handle.Get(), &status) != 0) {
        return Refused(errno);
    }
    PlainFile file;
    if (!S_ISREG(status.st_mode)) {
        file.refusal = "is no plain file";
        return file;
    }
    file.size = static_cast<std::uint64_t>(status.st_size);
    file.handle = std::move(handle);
    return file;
}

}  // namespace

FileHandle::~FileHandle() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

FileHandle::FileHandle(FileHandle&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    return *this;
}

PlainFile OpenPlainFile(const std::string& folder, const std::string& relative) {
    FileHandle parent(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::size_t begin = 0;
    for (std::size_t end = 0; parent.IsOpen(); begin = end + 1) {
        end = relative.find('/', begin);
        const std::string part = relative.substr(begin, end - begin);
        if (end == std::string::npos) {
            constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
            FileHandle file(openat(parent.Get(), part.c_str(), flags));
            return file.IsOpen() ? Inspect(std::move(file)) : Refused(errno);
        }
        constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        parent = FileHandle(openat(parent.Get(), part.c_str(), flags));
    }
    return Refused(errno);
}

std::optional<std::string> ReadBeginning(const std::string& path, std::size_t most) {
    const FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        return std::nullopt;
    }
    std::string text(most, '\0');
    const long got = ReadFully(file, text.data(), text.size());
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return text;
}

long ReadFully(const FileHandle& file, char* buffer, std::size_t size) {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = read(file.Get(), buffer + filled, size - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    return static_cast<long>(filled);
}

bool WriteFully(const FileHandle& file, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t count = write(file.Get(), data, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return false;
        }
        data += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

bool WriteDurably(const FileHandle& file, const std::string& content) {
    return file.IsOpen() && WriteFully(file, content.data(), content.size()) &&
           fsync(file.Get()) == 0;
}

std::string ReadWhole(PlainFile& file, std::size_t limit) {
    std::string content(std::min<std::uint64_t>(limit, file.size) + 1, '\0');
    const long count = ReadFully(file.handle, content.data(), content.size());
    if (count < 0) {
        file.refusal = SystemText(errno);
        return {};
    }
    content.resize(static_cast<std::size_t>(count));
    if (content.size() > limit) {
        file.refusal = "is larger than " + std::to_string(limit) + " bytes";
        return {};
    }
    if (content.size() != file.size) {
        file.refusal = "has changed while it was read";
        return {};
    }
    return content;
}

OpenFolder::OpenFolder(const char* path)
    : folder(::open(path, O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC)) {}

const char* OpenFolder::Next() {
    const dirent64* entry = nullptr;
    do {
        entry = NextEntry();
    } while (entry != nullptr &&
             (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0));
    return entry == nullptr ? nullptr : entry->d_name;
}

const dirent64* OpenFolder::NextEntry() {
    if (at == size) {
        const ssize_t got = ::getdents64(folder.Get(), entries.data(), entries.size());
        at = 0;
        size = got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    if (size == 0) {
        return nullptr;
    }
    const auto* entry = reinterpret_cast<const dirent64*>(entries.data() + at);
    at += entry->d_reclen;
    return entry;
}

bool OpenFolder::StatusOf(const char* name, struct stat& status) const {
    return ::fstatat(folder.Get(), name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

std::string SystemText(int error) {
    return std::generic_category().message(error);
}

bool IsDiskFull(int error) {
    return error == ENOSPC || error == EDQUOT;
}

std::string OtherHands(const struct stat& status, uid_t owner) {
    if (status.st_uid != owner) {
        return "belongs to another user";
    }
    return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ? "is writable for other users" : "";
}

}  // namespace qdmctl
