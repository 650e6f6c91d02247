#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "character/CharacterPalette.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;

using testing::keys;

TEST(CharacterPalette, ColourStringsReadLeniently) {
    const ColourBytes abc{0xAA, 0xBB, 0xCC};
    EXPECT_EQ(parseColour("#abc"), abc);
    EXPECT_EQ(parseColour("abc"), abc);
    EXPECT_EQ(parseColour("##AaBbCc#"), abc);
    EXPECT_EQ(parseColour("#DFA679"), (ColourBytes{223, 166, 121}));
    // Only the lowest 24 bits count: an alpha byte in front is ignored, short text is zero-padded.
    EXPECT_EQ(parseColour("#80FF0000"), (ColourBytes{255, 0, 0}));
    EXPECT_EQ(parseColour("#FFFFFFFFFFFF0000FF"), ColourBytes{});           // 18 digits overflow
    EXPECT_EQ(parseColour("#FFFFFFFFFF0000FF"), (ColourBytes{0, 0, 255}));  // 16 digits still read
    EXPECT_EQ(parseColour("#FF"), (ColourBytes{0, 0, 255}));
    EXPECT_EQ(parseColour("#abcd"), (ColourBytes{0, 0xAB, 0xCD}));  // only exactly three doubles
    for (const char* black :
         {"", "#", "##", "#GG0000", "red", "#AB#CDEF", " #ABCDEF", "0xABCDEF", "-1"})
        EXPECT_EQ(parseColour(black), ColourBytes{}) << black;

    EXPECT_EQ(Colour::fromHex("#FF0080"), (Colour{1.0, 0.0, 128 / 255.0, 1.0}));
}

TEST(CharacterPalette, ShadeTruncatesEachChannel) {
    EXPECT_EQ(CharacterPalette::shade("#DFA679", 0.78), "#AD815E");
    EXPECT_EQ(CharacterPalette::shade("#DFA679", 0.82), "#B68863");  // 182.86 136.12 99.22
    EXPECT_EQ(CharacterPalette::shade("#abc", 1.0), "#AABBCC");  // always upper case, six digits
    EXPECT_EQ(CharacterPalette::shade("#FFFFFF", 0.0), "#000000");
    EXPECT_EQ(CharacterPalette::shade("not a colour", 0.9), "#000000");
    EXPECT_EQ(CharacterPalette::shade("#FFFFFF", 2.0), "#1FE1FE1FE");  // no clamping
}

TEST(CharacterPalette, HexStringRoundsHalfAwayFromZero) {
    EXPECT_EQ(Colour({1, 1, 1}).hexString(), "#FFFFFF");
    EXPECT_EQ(Colour({0.5, 0, 1}).hexString(), "#8000FF");  // 127.5 becomes 128
    EXPECT_EQ(Colour({0.498, 0.002, 0}).hexString(), "#7F0100");
    EXPECT_EQ(Colour({1.5, -0.2, 0}).hexString(), "#FF0000");  // extended range stays six digits
    EXPECT_EQ(Colour::fromHex("#C0855A").hexString(), "#C0855A");
    EXPECT_EQ(Colour({std::nan(""), 0, 0}).hexString(), std::nullopt);
}

TEST(CharacterPalette, JsonRoundTripsWithExactKeys) {
    EXPECT_EQ(CharacterPalette::defaults().traits, FaceTraits::defaults());
    CharacterPalette palette;
    palette.traits.skin = "#112233";
    palette.traits.beard = true;
    palette.traits.wearsSari = false;
    palette.gold = "#445566";
    palette.showBindi = false;

    const Json json = palette;
    EXPECT_EQ(keys(json),
              (std::vector<std::string>{"traits", "bindi", "gold", "mouth", "showBindi"}));
    EXPECT_EQ(keys(json["traits"]),
              (std::vector<std::string>{"skin", "skinShade", "hair", "garmentPrimary",
                                        "garmentSecondary", "longHair", "beard", "wearsSari"}));
    EXPECT_EQ(json["traits"]["skin"], "#112233");
    EXPECT_EQ(json["traits"]["beard"], true);
    EXPECT_EQ(json.get<CharacterPalette>(), palette);
    EXPECT_EQ(Json(CharacterPalette{}).get<CharacterPalette>(), CharacterPalette::defaults());

    Json extra = json;
    extra["sparkle"] = 3;
    extra["traits"]["freckles"] = true;
    EXPECT_EQ(extra.get<CharacterPalette>(), palette);
}

TEST(CharacterPalette, AnyMissingOrMistypedKeyFailsTheDecode) {
    const Json good = CharacterPalette{};
    for (const auto& [key, value] : good.items()) {
        Json missing = good;
        missing.erase(key);
        EXPECT_THROW(missing.get<CharacterPalette>(), nlohmann::json::exception) << key;
    }
    for (const auto& [key, value] : good["traits"].items()) {
        Json missing = good;
        missing["traits"].erase(key);
        EXPECT_THROW(missing.get<CharacterPalette>(), nlohmann::json::exception) << key;
        Json mistyped = good;
        mistyped["traits"][key] = value.is_boolean() ? Json("true") : Json(1);
        EXPECT_THROW(mistyped.get<CharacterPalette>(), nlohmann::json::exception) << key;
    }
    Json mistyped = good;
    mistyped["showBindi"] = 1;
    EXPECT_THROW(mistyped.get<CharacterPalette>(), nlohmann::json::exception);
    mistyped = good;
    mistyped["bindi"] = nullptr;
    EXPECT_THROW(mistyped.get<CharacterPalette>(), nlohmann::json::exception);
    EXPECT_THROW(Json::array().get<CharacterPalette>(), nlohmann::json::exception);

    // A failed decode leaves the target as it was.
    CharacterPalette target;
    target.mouth = "#010203";
    Json broken = good;
    broken["traits"].erase("hair");
    EXPECT_THROW(from_json(broken, target), nlohmann::json::exception);
    EXPECT_EQ(target.mouth, "#010203");
}

}  // namespace
}  // namespace lumenary
