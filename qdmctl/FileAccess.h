#pragma once

#include <dirent.h>
#include <sys/stat.h>
#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace qdmctl {

/// Owns a file descriptor; programs that are started do not inherit it.
class FileHandle {
public:
    explicit FileHandle(int descriptor = -1) : descriptor(descriptor) {}
    ~FileHandle();
    FileHandle(FileHandle&& other) noexcept;
    FileHandle& operator=(FileHandle&& other) noexcept;

    int Get() const { return descriptor; }
    bool IsOpen() const { return descriptor >= 0; }

private:
    int descriptor;
};

/// A file opened for reading, or the reason why not.
struct PlainFile {
    FileHandle handle;
    std::uint64_t size = 0;
    std::string refusal;   ///< empty: the file is open
    bool missing = false;  ///< there is no such file
};

/// Opens a plain file below a folder. No part of `relative` may be a link, so the file lies below
/// the folder; the folder itself may be reached through one. Waits for nothing (pipes, devices).
[[nodiscard]] PlainFile OpenPlainFile(const std::string& folder, const std::string& relative);

/// What a file begins with, up to `most` bytes; nothing where it cannot be opened. For notes of
/// this program and of the kernel; it follows links.
[[nodiscard]] std::optional<std::string> ReadBeginning(const std::string& path,
                                                       std::size_t most = 4096);

/// Reads up to `size` bytes, fewer only at the end of the file; -1 with errno on failure.
[[nodiscard]] long ReadFully(const FileHandle& file, char* buffer, std::size_t size);

/// False with errno on failure.
[[nodiscard]] bool WriteFully(const FileHandle& file, const char* data, std::size_t size);

/// Writes an open file whole and onto its disk. False with errno on failure, also of its opening.
[[nodiscard]] bool WriteDurably(const FileHandle& file, const std::string& content);

/// The whole content; `refusal` is set where it cannot be read or is longer than `limit`.
[[nodiscard]] std::string ReadWhole(PlainFile& file, std::size_t limit);

/// What lies in a folder, name by name; nothing where it cannot be opened. It takes no memory, so
/// signal handlers may use it.
class OpenFolder {
public:
    explicit OpenFolder(const char* path);

    /// The next name, without "." and ".."; null at the end. It lasts until the next call.
    const char* Next();

    /// Of an entry itself, not of what a link leads to. False when it has gone.
    bool StatusOf(const char* name, struct stat& status) const;

private:
    const dirent64* NextEntry();

    FileHandle folder;
    std::size_t at = 0;
    std::size_t size = 0;
    alignas(dirent64) std::array<char, 8192> entries;
};

/// The system's text for an error number.
[[nodiscard]] std::string SystemText(int error);

/// Whether an error number says that a disk, or the caller's share of it, is full.
[[nodiscard]] bool IsDiskFull(int error);

/// Who else could have had a hand in what has this status: it belongs to another than `owner`, or
/// is writable for others. Empty when nobody.
[[nodiscard]] std::string OtherHands(const struct stat& status, uid_t owner);

}  // namespace qdmctl
