#pragma once
// The "--selftest" mode of the command line on its own, so that the program people run can offer
// it without linking the rest (see src/app/front/main.cpp).

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace lumenary::CommandLine {

/// The usage line printed for "--selftest" without a path.
inline constexpr const char* kSelfTestUsage =
    "usage: Lumenary --selftest <chat.zip | _chat.txt> [--as <name>] [query]";

/// What the self-test was asked for, read from the arguments after "--selftest".
struct SelfTestArguments {
    std::string path;
    std::optional<std::string> speakerHint;  // the last "--as" pair that directly follows the path
    std::optional<std::string> query;        // every remaining argument, joined with single spaces
};

/// Reads `args` (entry 0 the program path, entry 1 "--selftest", entry 2 the path).
SelfTestArguments selfTestArguments(const std::vector<std::string>& args);

/// Runs "--selftest" (entry 1 of `args`): the usage line and 2 without a path, else the report on
/// `out` and its exit code.
int runSelfTest(const std::vector<std::string>& args, std::ostream& out);

}  // namespace lumenary::CommandLine
