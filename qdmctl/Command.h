#pragma once

#include <vector>

namespace qdmctl {

struct Answer;
struct Options;
class Console;

/// Options that only some commands take; a command's are a sum of these.
enum OptionSet : unsigned {
    NoOptions = 0,
    DeviceFilter = 1,   ///< --device, for some ports among all
    Confirmation = 2,   ///< --yes and --dry-run: the command asks before it changes the server
    UpdateChoice = 4,   ///< --allow-older and --force
    OneDevice = 8,      ///< the name of one port, without which there is nothing to tell
    OutputOption = 16,  ///< --output, required
    ManyCalls = 32,     ///< --jobs: the tool may be asked several things at a time
};

/// One command of the program. Commands run in a worker process and return plain values.
struct Command {
    const char* name;
    const char* summary;
    const char* schema;  ///< of its answer
    bool needsRepository;
    bool changing;  ///< keeps all other runs out
    unsigned options;
    Answer (*run)(const Options& options, Console& console);
};

[[nodiscard]] const std::vector<Command>& Commands();

// One source file each.
Answer RunList(const Options& options, Console& console);
Answer RunCheck(const Options& options, Console& console);
Answer RunInfo(const Options& options, Console& console);
Answer RunUpdate(const Options& options, Console& console);
Answer RunPending(const Options& options, Console& console);
Answer RunRepair(const Options& options, Console& console);
Answer RunReport(const Options& options, Console& console);
Answer RunRestore(const Options& options, Console& console);
Answer RunDoctor(const Options& options, Console& console);

}  // namespace qdmctl
