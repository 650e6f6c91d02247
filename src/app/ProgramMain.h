#pragma once
// What both programs' main() do around their work.

#include <functional>
#include <iosfwd>

namespace lumenary::ProgramMain {

/// Runs `body` and gives its exit code. An exception that escapes it becomes one line on `err`
/// and exit code 1 (after what `out` holds is written): an archive far larger than this machine's
/// memory says so instead of aborting.
int reportingFailures(const std::function<int()>& body, std::ostream& out, std::ostream& err);

/// Makes a file that outgrows the process's file-size limit (`ulimit -f`) fail its write with
/// EFBIG, which every save already handles, instead of killing the program with SIGXFSZ and
/// leaving a half-written temporary file behind. The setting survives the front's hand-over.
void survivesFileSizeLimit();

}  // namespace lumenary::ProgramMain
