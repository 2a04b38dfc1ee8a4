#pragma once

#include <string>
#include <vector>

/// Runs one command line of the simulated adapter tool, without the program's name, and returns its
/// exit status: 0 done, 1 refused or failed, 2 not understood. All output, errors too, goes to
/// standard output.
int RunTool(const std::vector<std::string>& arguments);
