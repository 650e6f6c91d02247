#pragma once
// Handing a run over from the light front program to the whole program.
//
// `lumenary`, the program people run, reads a whole archive for --selftest in a process that
// links neither Qt nor the network and keyring libraries (they take about 20 MiB of memory on
// every run, a quarter of the self-test's budget above the archive itself). Every other mode runs
// in `lumenary-app`, installed beside it, which holds everything.

#include <iosfwd>
#include <string>
#include <vector>

namespace lumenary::HandOver {

/// The whole program's file name, beside the front's.
inline constexpr const char* kWholeProgram = "lumenary-app";

/// Replaces this process by the whole program with the same arguments. The process keeps its
/// id, so signals and the exit code reach whoever started it. Gives 1, with a line on `err`, only
/// when the whole program cannot be started.
int toWholeProgram(const std::vector<std::string>& args, std::ostream& err);

}  // namespace lumenary::HandOver
