#pragma once

#include <string>
#include <vector>

namespace qdmctl {

struct Command;

/// The command line as the user gave it.
struct Options {
    const Command* command = nullptr;
    std::string repository;  ///< folder with index.json
    std::string output;      ///< folder for what the command writes
    std::string traceFile;
    std::vector<std::string> devices;  ///< empty: all ports
    bool json = false;
    bool dryRun = false;
    bool yes = false;
    bool allowOlder = false;
    bool force = false;
    unsigned readTimeoutSeconds = 60;
    unsigned jobs = 1;  ///< calls of the adapter tool beside each other
};

/// A command line that was read: options, or a text to print (help, version, what is wrong) and an
/// exit code.
struct CommandLine {
    Options options;
    bool proceed = false;
    bool wrong = false;  ///< the text tells a mistake of the user
    std::string text;
    std::string hint;
};

[[nodiscard]] CommandLine ParseCommandLine(int argc, const char* const* argv);

}  // namespace qdmctl
