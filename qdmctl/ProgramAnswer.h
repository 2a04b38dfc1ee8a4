#pragma once

#include <chrono>
#include <string>

namespace qdmctl {

/// What a program printed.
struct ProgramAnswer {
    bool ended = false;  ///< by itself and in time
    int status = 0;      ///< its exit status
    std::string output;  ///< the beginning of its standard output
    std::string reason;  ///< why it did not end by itself
};

/// Runs a shell line that only reads. Its output passes through a private folder of its own, for
/// callers without a work area.
[[nodiscard]] ProgramAnswer AskProgram(const std::string& line, std::chrono::seconds limit);

/// Where the shell finds a program; empty: nowhere.
[[nodiscard]] std::string FindProgram(const std::string& name);

}  // namespace qdmctl
