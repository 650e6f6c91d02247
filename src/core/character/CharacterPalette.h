#pragma once
// The colours of the drawn character: the traits read from a photo plus the colours that are not
// (bindi, gold, mouth), and the colour helpers every part of the character uses.

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "character/FaceTraits.h"

namespace lumenary {

/// A drawing colour in sRGB, components nominally 0…1. The core draws nothing; this is what a
/// colour string turns into at the moment of drawing and what a picked colour comes back as.
struct Colour {
    double red = 0;
    double green = 0;
    double blue = 0;
    double opacity = 1;

    /// Reads "#RRGGBB" text (also "#RGB", no "#", extra leading or trailing "#"). Text that does
    /// not read is black, never an error: a bad stored colour should still draw.
    static Colour fromHex(const std::string& text);

    /// "#RRGGBB", each component times 255 rounded half away from zero. Nothing when a component
    /// is not a finite number; components beyond 0…1 are clamped so the text always has six digits.
    std::optional<std::string> hexString() const;

    friend bool operator==(const Colour&, const Colour&) = default;
};

/// The red, green and blue bytes of a colour string, by the same lenient reading as
/// Colour::fromHex.
struct ColourBytes {
    unsigned red = 0;
    unsigned green = 0;
    unsigned blue = 0;

    friend bool operator==(const ColourBytes&, const ColourBytes&) = default;
};
ColourBytes parseColour(const std::string& text);

/// A default-constructed palette is the standard look.
struct CharacterPalette {
    FaceTraits traits;
    std::string bindi = "#D0323F";
    std::string gold = "#E9B44C";  // earrings, bangles, sari border
    std::string mouth = "#8C4450";
    bool showBindi = true;

    /// The standard palette (`default` itself is a reserved word here).
    static CharacterPalette defaults() { return {}; }

    /// `colour` with each channel multiplied by `factor` and truncated toward zero, as "#RRGGBB"
    /// in upper case. No clamping: the character only darkens (factors below 1). A channel whose
    /// product is not a representable integer (NaN, huge factors) becomes 0.
    static std::string shade(const std::string& colour, double factor);

    friend bool operator==(const CharacterPalette&, const CharacterPalette&) = default;
};

/// JSON coding: "traits" (a FaceTraits object), "bindi", "gold", "mouth", "showBindi". Reading
/// throws nlohmann::json::exception when any key of the palette or its traits is missing or of
/// the wrong type; unknown keys are ignored.
void to_json(nlohmann::ordered_json& json, const CharacterPalette& palette);
void from_json(const nlohmann::ordered_json& json, CharacterPalette& palette);

}  // namespace lumenary
