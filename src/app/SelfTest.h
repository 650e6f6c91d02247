#pragma once
// The self-test report: the whole offline pipeline (import, measurement, voice card, few-shot bank,
// retrieval, on this day) run on one export and printed as plain text. It reads no stored state,
// writes nothing to disk and calls no model.

#include <iosfwd>
#include <optional>
#include <string>

#include "common/LocalTime.h"

namespace lumenary::SelfTest {

/// Prints the report for the export at `path` (a leading "~" is the home folder) to `out` and
/// gives 0 when it was printed to the end, 1 when it stopped early (no file, import failed,
/// nothing parsed). `today` is the moment "on this day" looks back from.
int run(const std::string& path, const std::optional<std::string>& speakerHint,
        const std::optional<std::string>& query, std::ostream& out, Timestamp today = now());

/// Prints a section heading: an empty line, the title, and a rule of U+2500 as long as the title
/// in characters, but at least 20.
void rule(const std::string& title, std::ostream& out);

}  // namespace lumenary::SelfTest
