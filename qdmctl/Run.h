#pragma once

namespace qdmctl {

/// The whole program: reads the command line, runs the command, prints its answer. Returns the exit
/// code.
[[nodiscard]] int Run(int argc, const char* const* argv);

}  // namespace qdmctl
