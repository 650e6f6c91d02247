#include <gtest/gtest.h>

#include "desktop/CompanionLayout.h"

namespace lumenary {
namespace {

using CompanionLayout::Rect;

TEST(CompanionLayout, HomeIsTheBottomRightOfTheUsableArea) {
    // A second monitor to the right of a first one of 1920 px, with a 32 px top bar.
    EXPECT_EQ(CompanionLayout::home(Rect{1920, 32, 2560, 1408}),
              (Rect{1920 + 2560 - 148 - 28, 32 + 1408 - 196 - 4, 148, 196}));
}

TEST(CompanionLayout, TheBubbleSitsAboveTheCharacterAndNeverLeavesThePanel) {
    const Rect character = CompanionLayout::characterFrame();
    EXPECT_EQ(character, (Rect{8, 28, 132, 168}));

    const Rect line = CompanionLayout::bubbleFrame(60, 10);
    EXPECT_EQ(line, (Rect{(148 - 80) / 2, 28 - 4 - 24, 80, 24}));

    // Too wide and too tall: held to the panel's width, moved down to its top edge.
    const Rect big = CompanionLayout::bubbleFrame(500, 60);
    EXPECT_EQ(big.width, 148);
    EXPECT_EQ(big.x, 0);
    EXPECT_EQ(big.y, 0);
    EXPECT_EQ(big.height, 74);
}

}  // namespace
}  // namespace lumenary
