// The drawn character against reference pictures, one per face state at 240 × 320, looked at and
// committed in tests/data/golden. A control point in the wrong place moves many pixels and fails;
// antialiasing that rounds a little differently does not.
//
// To draw the references again after a deliberate change, run this test with
// LUMENARY_UPDATE_GOLDEN=1, look at the pictures, and commit them.

#include <gtest/gtest.h>

#include <QPainter>
#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "ImageProbe.h"
#include "OffscreenApplication.h"
#include "TestSupport.h"
#include "character/DrawnCharacter.h"

namespace lumenary {
namespace {

constexpr int kChannelTolerance = 24;          // per channel, out of 255
constexpr double kMostDifferingShare = 0.002;  // of all pixels, for antialiasing at edges

QImage draw(CharacterState state) {
    QImage image = testing::blankImage(240, 320);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    paintCharacter(painter, QRectF(0, 0, 240, 320), CharacterPalette{}, state, 0);
    return image;
}

// How many pixels differ by more than the tolerance in any channel, alpha included.
int differingPixels(const QImage& a, const QImage& b) {
    const QImage left = a.convertToFormat(QImage::Format_ARGB32);
    const QImage right = b.convertToFormat(QImage::Format_ARGB32);
    int differing = 0;
    for (int y = 0; y < left.height(); ++y) {
        const auto* l = reinterpret_cast<const QRgb*>(left.constScanLine(y));
        const auto* r = reinterpret_cast<const QRgb*>(right.constScanLine(y));
        for (int x = 0; x < left.width(); ++x) {
            const int largest = std::max(
                {std::abs(qRed(l[x]) - qRed(r[x])), std::abs(qGreen(l[x]) - qGreen(r[x])),
                 std::abs(qBlue(l[x]) - qBlue(r[x])), std::abs(qAlpha(l[x]) - qAlpha(r[x]))});
            if (largest > kChannelTolerance)
                ++differing;
        }
    }
    return differing;
}

TEST(CharacterGolden, EveryFaceStateMatchesItsReferencePicture) {
    const bool update = std::getenv("LUMENARY_UPDATE_GOLDEN") != nullptr;
    for (CharacterState state : allCharacterStates) {
        std::string name = "character-" + std::string(displayName(state)) + ".png";
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        const QString path = QString::fromStdString(testing::testData("golden/" + name).string());
        const QImage drawn = draw(state);
        if (update) {
            ASSERT_TRUE(drawn.save(path)) << name;
            continue;
        }
        const QImage reference(path);
        ASSERT_FALSE(reference.isNull()) << name << " is missing";
        ASSERT_EQ(reference.size(), drawn.size()) << name;
        const int allowed = static_cast<int>(kMostDifferingShare * 240 * 320);
        EXPECT_LE(differingPixels(drawn, reference), allowed) << name;
    }
}

TEST(CharacterGolden, TheComparisonNoticesAShapeOutOfPlace) {
    // Idle against blink differs only around the eyes, a few hundred pixels: the comparison must
    // see that much, or it could not see a misplaced control point either.
    EXPECT_GT(differingPixels(draw(CharacterState::idle), draw(CharacterState::blink)),
              static_cast<int>(kMostDifferingShare * 240 * 320));
}

}  // namespace
}  // namespace lumenary
