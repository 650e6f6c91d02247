#pragma once
// "--demo": seeding the data folder from an export before the desktop application starts, so
// that someone trying Lumenary sees her at once. It replaces the archive in the user's real data
// folder, so it keeps one copy of what was there before.

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

namespace lumenary::DemoSeed {

/// The chat that ships with Lumenary, for a "--demo" without a path: "docs/sample-chat.txt" in
/// the current folder when it is there (a run from the checkout), else the copy installed beside
/// the program ("../share/lumenary/sample-chat.txt" from the program's folder), else the checkout
/// the program was built from. Nothing when none of them is a regular file.
std::optional<std::filesystem::path> sampleChat();

/// Imports `exportPath` (the sample chat when none; "~" expanded), picks her sender
/// (`preferredName` first) and adopts the archive into the store with "Her words only" on. An
/// archive already in the data folder is first copied into "before-demo-<UTC time>/" beside it,
/// and that folder replaces any earlier one, so repeated demos keep one copy, not one each; the
/// copy's path is printed on `out`. 0 when seeded; else 1 with one line on `err` that says why
/// (the import error, the copy that could not be made, or the save that failed).
int seed(const std::optional<std::string>& exportPath,
         const std::optional<std::string>& preferredName, std::ostream& out, std::ostream& err);

}  // namespace lumenary::DemoSeed
