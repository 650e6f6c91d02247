// The drawn character read back from pictures: where it lands, what breathes, and what each state
// and palette switch changes on the face and body.
#include <gtest/gtest.h>

#include <QPainter>
#include <cmath>
#include <limits>

#include "ImageProbe.h"
#include "OffscreenApplication.h"
#include "character/DrawnCharacter.h"

namespace lumenary {
namespace {

using testing::blankImage;
using testing::colourAt;
using testing::differingBounds;
using testing::near;
using testing::paintedBounds;

QImage draw(CharacterState state, const CharacterPalette& palette = {}, double breath = 0,
            QSize size = {240, 320}, QRectF area = {}) {
    QImage image = blankImage(size.width(), size.height());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    paintCharacter(painter, area.isNull() ? QRectF(QPointF(), QSizeF(size)) : area, palette, state,
                   breath);
    return image;
}

// At 240 × 320 the scale is 2: a design point (x, y) is the pixel (2x, 2y).
QColor at(const QImage& image, double x, double y) {
    return colourAt(image, 2 * x, 2 * y);
}

bool isDark(const QColor& colour) {
    return colour.alpha() > 200 && colour.lightness() < 80;
}

TEST(DrawnCharacter, FitsTheAreaKeepingItsProportionsAndCentresTheSpareRoom) {
    const QRect natural = paintedBounds(draw(CharacterState::idle, {}, 0, {120, 160}));
    // Hair at the top, the floor shadow at the bottom and sides.
    EXPECT_NEAR(natural.top(), 15, 1);
    EXPECT_NEAR(natural.left(), 26, 1);
    EXPECT_NEAR(natural.right(), 94, 1);
    EXPECT_NEAR(natural.bottom(), 159, 1);

    EXPECT_EQ(paintedBounds(draw(CharacterState::idle, {}, 0, {240, 160})),
              natural.translated(60, 0));
    EXPECT_EQ(paintedBounds(draw(CharacterState::idle, {}, 0, {120, 320})),
              natural.translated(0, 80));
    EXPECT_EQ(paintedBounds(draw(CharacterState::idle, {}, 0, {200, 200}, {10, 20, 120, 160})),
              natural.translated(10, 20));

    const QRect doubled = paintedBounds(draw(CharacterState::idle, {}, 0, {240, 320}));
    EXPECT_NEAR(doubled.left(), 2 * natural.left(), 2);
    EXPECT_NEAR(doubled.top(), 2 * natural.top(), 2);
    EXPECT_NEAR(doubled.right(), 2 * natural.right(), 2);
    EXPECT_NEAR(doubled.bottom(), 2 * natural.bottom(), 2);
}

TEST(DrawnCharacter, DrawsNothingIntoAnUnusableAreaAndTreatsABadBreathAsNone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(paintedBounds(draw(CharacterState::idle, {}, 0, {50, 50}, {0, 0, 0, 40})).isNull());
    EXPECT_TRUE(
        paintedBounds(draw(CharacterState::idle, {}, 0, {50, 50}, {0, 0, nan, 40})).isNull());
    EXPECT_TRUE(
        paintedBounds(draw(CharacterState::idle, {}, 0, {50, 50}, {0, 0, -30, 40})).isNull());
    EXPECT_EQ(draw(CharacterState::idle, {}, nan), draw(CharacterState::idle, {}, 0));
}

TEST(DrawnCharacter, BreathLiftsTheBodyButNotTheFloorShadow) {
    const QImage resting = draw(CharacterState::idle, {}, 0);
    const QImage breathing = draw(CharacterState::idle, {}, 1.6);

    // Below the hem (design y 150 on) there is only the shadow.
    const QImage floorResting = resting.copy(0, 300, 240, 20);
    EXPECT_EQ(floorResting, breathing.copy(0, 300, 240, 20));
    EXPECT_NEAR(qAlpha(resting.pixel(120, 314)), 41, 1);  // black at opacity 0.16

    // 1.6 design units at scale 2 lift the top of the hair by about three pixels.
    EXPECT_NEAR(paintedBounds(resting).top() - paintedBounds(breathing).top(), 3.2, 1);
    // The face moved with it: the top of the open eye is now higher.
    EXPECT_TRUE(isDark(at(breathing, 48.5, 49.2)));
    EXPECT_FALSE(isDark(at(resting, 48.5, 49.2)));
}

TEST(DrawnCharacter, ClosedEyesOnBlinkAndSleepOpenEyesOtherwise) {
    const QColor eye(0x2A, 0x22, 0x30);
    for (const CharacterState state : allCharacterStates) {
        SCOPED_TRACE(std::string(displayName(state)));
        const QImage image = draw(state);
        const bool closed = state == CharacterState::blink || state == CharacterState::sleeping;
        for (const double x : {48.5, 71.5}) {
            // The open eye's centre, and the lowest point of the closed eye's curve.
            EXPECT_EQ(near(at(image, x, 55), eye), !closed);
            EXPECT_TRUE(isDark(at(image, x, 59.2)));
        }
    }
}

TEST(DrawnCharacter, EachStateChangesOnlyItsOwnPartOfTheFace) {
    const QImage idle = draw(CharacterState::idle);
    const QColor mouth(0x8C, 0x44, 0x50);

    // Speaking: an open mouth where the resting face has skin above the smile.
    EXPECT_TRUE(near(at(draw(CharacterState::speaking), 60, 69.5), mouth));
    EXPECT_FALSE(near(at(idle, 60, 69.5), mouth, 40));

    // Listening: both brows higher, nothing else.
    const QImage listening = draw(CharacterState::listening);
    const QRect brows = differingBounds(idle, listening);
    ASSERT_FALSE(brows.isNull());
    EXPECT_GE(brows.top(), 2 * 38);
    EXPECT_LE(brows.bottom(), 2 * 47);
    EXPECT_GE(brows.left(), 2 * 41);
    EXPECT_LE(brows.right(), 2 * 79);
    EXPECT_TRUE(isDark(at(listening, 48.5, 41.1)));
    EXPECT_FALSE(isDark(at(idle, 48.5, 41.1)));

    // Sleeping: the blink's face plus the two letters up to the right of the head.
    const QRect letters =
        differingBounds(draw(CharacterState::blink), draw(CharacterState::sleeping));
    ASSERT_FALSE(letters.isNull());
    EXPECT_GE(letters.left(), 2 * 85);
    EXPECT_LE(letters.bottom(), 2 * 35);
    EXPECT_LT(letters.top(), 2 * 20);  // the smaller, higher letter is there too
}

TEST(DrawnCharacter, SariBindiAndBeardFollowThePaletteSwitches) {
    CharacterPalette sari;
    sari.traits.garmentPrimary = "#2040C0";
    sari.traits.garmentSecondary = "#20C040";
    sari.gold = "#E0C000";
    CharacterPalette plain = sari;
    plain.traits.wearsSari = false;
    const QImage withSari = draw(CharacterState::idle, sari);
    const QImage withoutSari = draw(CharacterState::idle, plain);

    const auto greenish = [](QColor c) { return c.green() > c.blue() + 40; };
    const auto goldish = [](QColor c) { return c.red() > 150 && c.green() > 150 && c.blue() < 90; };
    EXPECT_TRUE(greenish(at(withSari, 82, 104)));      // the drape over the shoulder
    EXPECT_FALSE(greenish(at(withoutSari, 82, 104)));  // the plain top
    EXPECT_TRUE(goldish(at(withSari, 60, 144.5)));     // the border at the hem
    EXPECT_FALSE(goldish(at(withoutSari, 60, 144.5)));
    EXPECT_TRUE(goldish(at(withSari, 31.5, 62.5)));  // an earring under the ear
    EXPECT_FALSE(goldish(at(withoutSari, 31.5, 62.5)));
    EXPECT_GT(at(withSari, 36, 132).lightness(),
              at(withoutSari, 36, 132).lightness() + 30);  // a dot
    EXPECT_TRUE(greenish(at(withoutSari, 60, 98)));        // the placket, only without the sari
    EXPECT_FALSE(greenish(at(withSari, 60, 98)));
    EXPECT_TRUE(goldish(at(withoutSari, 51, 108.5)));  // bangles either way

    CharacterPalette noBindi;
    noBindi.showBindi = false;
    EXPECT_TRUE(near(at(draw(CharacterState::idle), 60, 36.5), QColor(0xD0, 0x32, 0x3F)));
    const QRect bindi =
        differingBounds(draw(CharacterState::idle), draw(CharacterState::idle, noBindi));
    EXPECT_TRUE(QRect(2 * 56, 2 * 31, 2 * 8, 2 * 9).contains(bindi));

    CharacterPalette bearded;
    bearded.traits.beard = true;
    CharacterPalette shortHairBeard = bearded;
    shortHairBeard.traits.longHair = false;
    CharacterPalette shortHair = shortHairBeard;
    shortHair.traits.beard = false;
    EXPECT_TRUE(isDark(at(draw(CharacterState::idle, shortHairBeard), 60, 79)));
    EXPECT_FALSE(isDark(at(draw(CharacterState::idle, shortHair), 60, 79)));
    // Long hair shows no beard whatever the palette says.
    EXPECT_EQ(draw(CharacterState::idle, bearded), draw(CharacterState::idle));
}

}  // namespace
}  // namespace lumenary
