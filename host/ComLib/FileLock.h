#pragma once

#include <string>

/// An exclusive or shared lock on a file. The kernel releases it with its holder; it is not
/// inherited by programs that are started.
class FileLock {
public:
    enum class Mode { Shared, Exclusive };
    enum class Result { Locked, Busy, Failed };

    FileLock() = default;
    ~FileLock();
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;

    /// Creates the file (mode 0600) when it is missing. `timeoutMs` -1 waits without limit, 0 not
    /// at all. Failed leaves the reason in errno.
    [[nodiscard]] Result Lock(const std::string& file, Mode mode, long timeoutMs);
    void Unlock();
    bool Held() const { return descriptor >= 0; }

    /// Descriptor of the locked file, for a note about its holder; -1 when not held.
    int Descriptor() const { return descriptor; }

private:
    int descriptor = -1;
};
