#pragma once
// What both programs' main() do around their work.

#include <functional>
#include <iosfwd>

namespace lumenary::ProgramMain {

/// Runs `body` and gives its exit code. An exception that escapes it becomes one line on `err`
/// and exit code 1 (after what `out` holds is written): an archive far larger than this machine's
/// memory says so instead of aborting.
int reportingFailures(const std::function<int()>& body, std::ostream& out, std::ostream& err);

}  // namespace lumenary::ProgramMain
