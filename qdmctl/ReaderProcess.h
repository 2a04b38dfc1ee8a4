#pragma once

#include "qdmctl/FileAccess.h"

#include <sys/types.h>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

namespace qdmctl {

/// A process forked from this one that makes reading calls for it, one after another. It ends with
/// this object, and with the process that made it however that ends; what it has started ends too.
class ReaderProcess {
public:
    /// The call, made in the forked process for a number that the caller gives a meaning; whether
    /// it has succeeded.
    using Call = std::function<bool(std::size_t)>;

    /// Null when no process can be made.
    [[nodiscard]] static std::unique_ptr<ReaderProcess> Start(const Call& call);
    ~ReaderProcess();
    ReaderProcess(const ReaderProcess&) = delete;
    ReaderProcess& operator=(const ReaderProcess&) = delete;

    /// Begins a call. False when the process is gone.
    [[nodiscard]] bool Begin(std::size_t number);

    /// Waits for the result of the call that was begun; empty when the process is gone.
    [[nodiscard]] std::optional<bool> Result();

    /// Readable when Result would not wait.
    int Descriptor() const { return channel.Get(); }
    pid_t Pid() const { return pid; }

private:
    ReaderProcess(pid_t pid, FileHandle channel) : pid(pid), channel(std::move(channel)) {}

    pid_t pid;
    FileHandle channel;
    bool calling = false;
};

}  // namespace qdmctl
