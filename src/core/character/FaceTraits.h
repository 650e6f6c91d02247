#pragma once
// What is read from a photograph of the person: five colours and three yes/no traits that colour
// and shape the drawn character.

#include <nlohmann/json.hpp>
#include <string>

namespace lumenary {

/// Colours are "#RRGGBB" text, kept as text until the moment of drawing. A default-constructed
/// record is the standard look used before any photo has been read.
struct FaceTraits {
    std::string skin = "#DFA679";
    std::string skinShade = "#C0855A";  // the darker tone at the rim of the face
    std::string hair = "#241B22";       // also eyebrows and beard
    std::string garmentPrimary = "#F5479A";
    std::string garmentSecondary = "#FFCB6E";  // collar, sari drape, placket
    bool longHair = true;                      // reaching the jaw or below
    bool beard = false;                        // beard, moustache or heavy stubble
    bool wearsSari = true;                     // sari or salwar

    /// The standard record (`default` itself is a reserved word here).
    static FaceTraits defaults() { return {}; }

    friend bool operator==(const FaceTraits&, const FaceTraits&) = default;
};

/// JSON coding: an object keyed by the field names. Reading throws nlohmann::json::exception when
/// any key is missing or of the wrong type; unknown keys are ignored.
void to_json(nlohmann::ordered_json& json, const FaceTraits& traits);
void from_json(const nlohmann::ordered_json& json, FaceTraits& traits);

}  // namespace lumenary
