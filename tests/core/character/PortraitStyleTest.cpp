#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "character/PortraitStyle.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;

TEST(PortraitStyle, RawValuesRoundTripAndNothingElseReads) {
    std::string order;
    std::set<std::string_view> notes;
    for (const PortraitStyle style : allPortraitStyles) {
        order += std::string(rawValue(style)) + " ";
        EXPECT_EQ(Json(style).get<PortraitStyle>(), style);
        notes.insert(note(style));
    }
    EXPECT_EQ(order, "cute pixel cartoon photo ");
    EXPECT_EQ(notes.size(), 4u);
    EXPECT_EQ(Json("photo").get<PortraitStyle>(), PortraitStyle::photo);
    for (const Json& bad : {Json("sketch"), Json("Photo"), Json(""), Json(3), Json(nullptr)})
        EXPECT_THROW(bad.get<PortraitStyle>(), nlohmann::json::exception) << bad.dump();
}

TEST(PortraitStyle, OnlyCartoonAndPhotoNeedThePhoto) {
    EXPECT_FALSE(needsPhoto(PortraitStyle::cute));
    EXPECT_FALSE(needsPhoto(PortraitStyle::pixel));
    EXPECT_TRUE(needsPhoto(PortraitStyle::cartoon));
    EXPECT_TRUE(needsPhoto(PortraitStyle::photo));
    EXPECT_EQ(note(PortraitStyle::pixel), "The same character as a sprite. Blinks and talks.");
}

}  // namespace
}  // namespace lumenary
