#pragma once

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

/// Reads up to `size` bytes, fewer only at the end of the file; -1 with errno on failure.
[[nodiscard]] long ReadFully(const FileHandle& file, char* buffer, std::size_t size);

/// False with errno on failure.
[[nodiscard]] bool WriteFully(const FileHandle& file, const char* data, std::size_t size);

/// The whole content; `refusal` is set where it cannot be read or is longer than `limit`.
[[nodiscard]] std::string ReadWhole(PlainFile& file, std::size_t limit);

/// The system's text for an error number.
[[nodiscard]] std::string SystemText(int error);

}  // namespace qdmctl
