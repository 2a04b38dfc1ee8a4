#pragma once

#include <sys/stat.h>

/// Tells one content of a file from another without reading it.
class FileStamp {
public:
    explicit FileStamp(const struct stat& status) : status(status) {}

    bool operator==(const FileStamp& other) const;

    /// Whether every change from now on gives another stamp. A file that has only just been
    /// written could be written again within one tick of the clock that stamps it.
    bool IsSettled() const;

private:
    struct stat status;
};
