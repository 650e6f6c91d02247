#pragma once
// Starting the desktop application and the design previews, the two ways the program reaches the
// windowing system. Both are called by the command line after every terminal mode had its turn.

#include <iosfwd>
#include <string>
#include <vector>

namespace lumenary::Application {

/// Runs the desktop application until the user quits and gives the exit code. Without a display
/// to show it on, says so in one line on `err` and gives 1.
int run(const std::vector<std::string>& args, std::ostream& err);

}  // namespace lumenary::Application

namespace lumenary::Preview {

/// Each writes PNG files into the folder `out` (created if missing) using Qt's offscreen
/// platform, so no display is needed, and gives the exit code.
int render(const std::string& out, std::ostream& err);    // the character in every state and style
int variants(const std::string& out, std::ostream& err);  // palettes: sari, hair, beard, bindi
int screens(const std::string& out, std::ostream& err);   // the panel and the chat window

}  // namespace lumenary::Preview
