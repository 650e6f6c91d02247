#pragma once
// Where the companion panel sits on the screen and how its inside is laid out, in logical pixels
// with the origin at the top left and y growing downward.

namespace lumenary::CompanionLayout {

struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    int right() const { return x + width; }    // one past the last column
    int bottom() const { return y + height; }  // one past the last row
    bool contains(int px, int py) const {
        return px >= x && px < right() && py >= y && py < bottom();
    }

    friend bool operator==(const Rect&, const Rect&) = default;
};

inline constexpr int panelWidth = 148;
inline constexpr int panelHeight = 196;
inline constexpr int characterWidth = 132;
inline constexpr int characterHeight = 168;

/// The panel on a screen whose usable area (without docks and top bars) is `available`: its right
/// edge 28 px in from the area's right edge, its bottom edge 4 px above the area's bottom edge.
Rect home(const Rect& available);

/// The part of the panel that takes the mouse: 18 % of the panel's width in from either side
/// (rounded to whole pixels) and 6 px in from the top and the bottom. A click anywhere else in the
/// panel belongs to whatever lies below it.
Rect clickArea();

/// The character: bottom-centred in the panel.
Rect characterFrame();

/// The widest the bubble's text may run: the bubble is at most 190 px wide, padding included, and
/// never wider than the panel.
int bubbleTextWidth();

/// The bubble around a text block of `textWidth` × `textHeight`: padded 10 px left and right and
/// 7 px top and bottom, centred over the character with its bottom 4 px above it. A bubble too
/// tall for the space above the character is moved down to the panel's top edge and overlaps it.
Rect bubbleFrame(int textWidth, int textHeight);

}  // namespace lumenary::CompanionLayout
