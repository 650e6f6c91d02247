#pragma once
// Starting the desktop application: choosing the windowing system, running the event loop with
// the app delegate, and leaving cleanly on quit or on SIGTERM and SIGINT.

#include <iosfwd>
#include <string>
#include <vector>

namespace lumenary::DesktopApplication {

/// Runs until the user quits (from the menu, Ctrl+Q, SIGTERM or SIGINT), saving the store on the
/// way out, and gives 0. With no display to show the application on (none set, or an X server
/// that does not answer), says so in one line on `err` and gives 1 instead of letting Qt abort.
/// When a Wayland session also offers X (XWayland), the application runs on X, where the panel
/// can be placed and kept above other windows. QT_QPA_PLATFORM, when set, is obeyed as it is.
int run(const std::vector<std::string>& args, std::ostream& err);

}  // namespace lumenary::DesktopApplication
