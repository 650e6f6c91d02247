#pragma once
// Design previews of the character: every face state in every portrait style, and a set of
// palettes. Both draw on Qt's offscreen platform, so they need no display.

#include <iosfwd>
#include <string>

namespace lumenary::CharacterPreviews {

/// Writes "character-<style>-<state>.png" (240 × 320, transparent) for each portrait style and
/// state, and the contact sheet "character-states.png", into `out` (created if missing). The
/// cartoon and photo styles have no image here, so they show their fall-back, the drawn
/// character. Gives 0, or 1 after one line on `err` when a folder or file cannot be written.
int states(const std::string& out, std::ostream& err);

/// Writes "variant-<name>.png" (240 × 320) for each of a set of palettes (sari or not, long or
/// short hair, beard, bindi, skin tones) and the sheet "character-variants.png". Same result and
/// failure as states().
int variants(const std::string& out, std::ostream& err);

}  // namespace lumenary::CharacterPreviews
