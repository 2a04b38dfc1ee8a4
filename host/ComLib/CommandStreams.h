#pragma once

#include <cstdint>
#include <string>

#include "host/ComLib/Descriptor.h"

/// Standard output of a command: a file, or nowhere.
///
/// The command writes to the file itself, so it outlives this process and is held up by nobody. An
/// endless output must not fill the disk all the same: whenever the file is found longer than its
/// limit it is started afresh.
class OutputFile {
public:
    /// Truncates or creates the file (mode 0600); the empty name stands for nowhere. Refuses links
    /// and what is neither file nor device. Returns the reason of a failure.
    [[nodiscard]] std::string Open(const std::string& file);

    int Number() const { return descriptor.Get(); }

    void KeepInBounds();
    /// The last look, after the end of the command: cuts what is over the limit.
    void Cut();

private:
    std::uint64_t Length() const;

    Descriptor descriptor;
    bool bounded = false;
    bool told = false;
};

/// Standard error of a command, forwarded to the trace line by line.
///
/// A file in memory and no pipe: a tool that flashes an adapter must neither wait for us nor be
/// ended by a broken pipe when this process dies, and a daemon that a command leaves behind holds
/// nobody up.
class ErrorText {
public:
    [[nodiscard]] std::string Open();

    int Number() const { return descriptor.Get(); }

    /// Forwards the lines that have come since the last call.
    void Forward();

    /// Forwards the rest. What is written from now on is refused to the writer.
    void Close();

private:
    void Take(const char* text, std::size_t size);
    void EndLine();
    void DropOverflow();

    Descriptor descriptor;
    std::uint64_t position = 0;
    std::uint64_t taken = 0;
    std::string line;
};

/// Opens a file close-on-exec and above the standard three, so that none of these is overwritten
/// when a child's streams are put in place. -1 and errno on failure.
int OpenAboveStandard(const char* file, int flags);
