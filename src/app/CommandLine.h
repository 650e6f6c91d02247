#pragma once
// The program's command line: which mode the arguments ask for, and running it.

#include <string>
#include <vector>

namespace lumenary::CommandLine {

/// Runs the mode that `args` (entry 0 is the program path) asks for and gives the exit code:
/// 0 success, 1 failure, 2 usage error.
int run(const std::vector<std::string>& args);

}  // namespace lumenary::CommandLine
