#pragma once

#include <vector>

namespace qdmctl {

struct Answer;
struct Options;
class Console;

/// One command of the program. Commands run in a worker process and return plain values.
struct Command {
    const char* name;
    const char* summary;
    const char* schema;  ///< of its answer
    bool needsRepository;
    bool changing;  ///< takes the options that steer an update
    Answer (*run)(const Options& options, Console& console);
};

[[nodiscard]] const std::vector<Command>& Commands();

// One source file each.
Answer RunList(const Options& options, Console& console);
Answer RunCheck(const Options& options, Console& console);
Answer RunUpdate(const Options& options, Console& console);

}  // namespace qdmctl
