#pragma once
// A design preview of the companion panel, drawn on Qt's offscreen platform.

#include <iosfwd>
#include <string>

namespace lumenary::PanelPreview {

/// Writes "panel.png" (the translucent panel, 148 × 196, with a greeting in its bubble) and
/// "panel-opaque.png" (the same on a desktop without a compositor) into `out`, created if
/// missing. Uses no stored data. Gives 0, or 1 after one line on `err` when a folder or file
/// cannot be written. Needs a QApplication, or makes one on the offscreen platform.
int render(const std::string& out, std::ostream& err);

}  // namespace lumenary::PanelPreview
