#pragma once

#include <sys/stat.h>

#include <cstddef>

/// Tells one content of a file from another without reading it.
class FileStamp {
public:
    explicit FileStamp(const struct stat& status) : status(status) {}

    bool operator==(const FileStamp& other) const;

    /// Whether every change from now on gives another stamp. A file that has only just been
    /// written could be written again within one tick of the clock that stamps it.
    bool IsSettled() const;

    /// Whether it is a plain file of at most so many bytes.
    bool IsSmallFile(std::size_t largest) const;

private:
    struct stat status;
};
