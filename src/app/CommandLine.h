#pragma once
// The program's command line: which mode the arguments ask for, and running it.

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "SelfTestCommand.h"

namespace lumenary::CommandLine {

/// What `--demo` asks for: the export to seed from and the preferred sender.
struct DemoArguments {
    // The first entry after "--demo" that is neither a switch nor the name after "--as"; nothing
    // means the sample chat that comes with Lumenary.
    std::optional<std::string> exportPath;
    std::optional<std::string> preferredName;  // the entry right after the first "--as"
};

/// The demo request in `args`, or nothing when "--demo" is not among them.
std::optional<DemoArguments> demoArguments(const std::vector<std::string>& args);

/// Runs the mode that `args` (entry 0 is the program path) asks for and gives the exit code:
/// 0 success, 1 failure, 2 usage error. Reports go to `out`, complaints to `err`.
int run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace lumenary::CommandLine
