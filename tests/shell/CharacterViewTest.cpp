// The character view against a real store folder and animator: the look chosen by the persona's
// style, the fall-back to the drawn character, and the pixel sprite's rendering.
#include <gtest/gtest.h>

#include <QPainter>
#include <algorithm>
#include <cstdlib>
#include <set>
#include <vector>

#include "ImageProbe.h"
#include "ManualScheduler.h"
#include "OffscreenApplication.h"
#include "TestSupport.h"
#include "character/CharacterLook.h"
#include "character/CharacterView.h"
#include "character/DrawnCharacter.h"

namespace lumenary {
namespace {

using testing::blankImage;
using testing::colourAt;
using testing::near;
using testing::paintedBounds;

const QSize panelSize(148, 196);

// The largest difference in any channel of any pixel; a size or ratio mismatch counts as 255.
int largestDifference(const QImage& a, const QImage& b) {
    if (a.size() != b.size() || a.devicePixelRatio() != b.devicePixelRatio())
        return 255;
    const QImage left = a.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage right = b.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    int largest = 0;
    for (int y = 0; y < left.height(); ++y)
        for (int x = 0; x < left.width(); ++x) {
            const QRgb p = left.pixel(x, y);
            const QRgb q = right.pixel(x, y);
            largest = std::max({largest, std::abs(qRed(p) - qRed(q)),
                                std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q)),
                                std::abs(qAlpha(p) - qAlpha(q))});
        }
    return largest;
}

// Kept frames are composed layer by layer and show the lift to within an eighth of a pixel, so a
// pixel on a sharp, high-contrast edge may differ from direct painting by up to about a quarter of
// full scale; a wrong colour, a shifted body or a missing layer differs by far more.
constexpr int lookTolerance = 64;

class CharacterViewTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::ManualScheduler scheduler;
    CharacterAnimator animator{scheduler, [] { return 5.0; }};
    Store store{folder.path()};

    void choose(PortraitStyle style, const CharacterPalette& palette = {}) {
        Persona persona = store.persona();
        persona.portraitStyle = style;
        persona.palette = palette;
        store.setPersona(persona);
    }

    void writeImage(const char* name, QColor colour) {
        QImage image(80, 80, QImage::Format_ARGB32);
        image.fill(colour);
        ASSERT_TRUE(image.save(QString::fromStdString((folder.path() / name).string())));
    }

    // What the view paints, on a transparent background.
    static QImage shown(CharacterView& view) {
        QImage image = blankImage(view.width(), view.height());
        view.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        return image;
    }

    // The drawn character as the view should paint it now.
    QImage drawn(const CharacterPalette& palette = {}) const {
        QImage image = blankImage(panelSize.width(), panelSize.height());
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        paintCharacter(painter, QRectF(QPointF(), QSizeF(panelSize)), palette, animator.state(),
                       animator.breath());
        return image;
    }
};

TEST_F(CharacterViewTest, RendersThePixelSpriteOnlyWhenTheStateChanges) {
    choose(PortraitStyle::pixel);
    CharacterView view(animator, store);
    view.resize(panelSize);
    std::vector<CharacterState> renders;
    view.setSpriteHook([&](const QImage& sprite, CharacterState state) {
        EXPECT_EQ(sprite.size(), QSize(38, 50));
        renders.push_back(state);
    });

    shown(view);  // the first paint loads and renders
    ASSERT_EQ(renders, std::vector<CharacterState>{CharacterState::idle});

    animator.setSpeaking(true);
    for (int frame = 0; frame < 4; ++frame)  // idle, speaking, idle, speaking
        animator.step();
    animator.setSpeaking(false);
    for (int frame = 0; frame < 4; ++frame)  // idle from now on
        animator.step();
    shown(view);
    EXPECT_EQ(renders, (std::vector<CharacterState>{CharacterState::idle, CharacterState::speaking,
                                                    CharacterState::idle, CharacterState::speaking,
                                                    CharacterState::idle}));

    // A reload renders again, whatever the state.
    view.setPortraitVersion(1);
    EXPECT_EQ(renders.size(), 6u);
}

TEST_F(CharacterViewTest, ScalesThePixelSpriteUpWithHardPixelEdges) {
    choose(PortraitStyle::pixel);
    CharacterView view(animator, store);
    view.resize(panelSize);
    std::set<QRgb> spriteColours;
    view.setSpriteHook([&](const QImage& sprite, CharacterState) {
        spriteColours.clear();
        for (int y = 0; y < sprite.height(); ++y)
            for (int x = 0; x < sprite.width(); ++x)
                spriteColours.insert(sprite.pixel(x, y));
    });

    const QImage image = shown(view);
    ASSERT_GT(spriteColours.size(), 20u);
    // Smoothing would blend neighbouring sprite pixels into colours the sprite does not have.
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ASSERT_TRUE(spriteColours.count(image.pixel(x, y)) == 1) << "at " << x << ", " << y;
    // The 38 × 50 sprite fills the panel: the figure is about 83 pixels wide, not 21.
    EXPECT_GT(paintedBounds(image).width(), 75);
}

TEST_F(CharacterViewTest, ImageStylesShowTheDrawnCharacterUntilTheirImageIsThere) {
    CharacterView view(animator, store);
    view.resize(panelSize);
    EXPECT_LE(largestDifference(shown(view), drawn()), lookTolerance);  // cute

    choose(PortraitStyle::photo);
    EXPECT_LE(largestDifference(shown(view), drawn()), lookTolerance);
    folder.write("portrait.png", "not a picture");
    view.setPortraitVersion(1);
    EXPECT_LE(largestDifference(shown(view), drawn()), lookTolerance);

    writeImage("portrait.png", QColor(0, 0, 255));
    view.setPortraitVersion(2);
    QImage image = shown(view);
    EXPECT_TRUE(near(colourAt(image, 74, 98), QColor(0, 0, 255), 2));
    // The square photo fills rows 24 to 172; its shadow falls below it.
    const QColor shadow = colourAt(image, 74, 175);
    EXPECT_GT(shadow.alpha(), 20);
    EXPECT_LT(shadow.lightness(), 10);

    // The cartoon style does not show the photo.
    choose(PortraitStyle::cartoon);
    EXPECT_LE(largestDifference(shown(view), drawn()), lookTolerance);
    writeImage("portrait-cartoon.png", QColor(0, 255, 0));
    choose(PortraitStyle::cute);
    shown(view);
    choose(PortraitStyle::cartoon);  // a change of style reloads
    image = shown(view);
    EXPECT_TRUE(near(colourAt(image, 74, 98), QColor(0, 255, 0), 2));
    EXPECT_EQ(colourAt(image, 74, 175).alpha(), 0);  // no shadow under the cartoon

    // Images only breathe: they rise with the breath, in the view's pixels.
    for (int frame = 0; frame < 21; ++frame)  // near the top of a breath, 1.6
        animator.step();
    const QRect resting = paintedBounds(image);
    EXPECT_EQ(paintedBounds(shown(view)).top(), resting.top() - 2);

    // A new palette shows in the drawn look at the next paint.
    CharacterPalette palette;
    palette.traits.garmentPrimary = "#3E7CB1";
    palette.traits.wearsSari = false;
    choose(PortraitStyle::cute, palette);
    EXPECT_LE(largestDifference(shown(view), drawn(palette)), lookTolerance);
}

TEST_F(CharacterViewTest, KeptFramesOfTheDrawnCharacterLookLikeDirectPainting) {
    CharacterView view(animator, store);
    view.resize(panelSize);
    animator.setSpeaking(true);
    // Two breaths and a half, speaking: both states, every quarter-pixel lift, some twice.
    for (int frame = 0; frame < 120; ++frame) {
        animator.step();
        const QImage direct = drawn();
        ASSERT_LE(largestDifference(shown(view), direct), lookTolerance) << "frame " << frame;
        // Something is painted, so the comparison is not of two blank images.
        if (frame == 0) {
            ASSERT_GT(paintedBounds(direct).width(), 60);
        }
    }
}

TEST_F(CharacterViewTest, KeptFramesFollowBreathWithinAnEighthOfAPixel) {
    CharacterLook look;
    const QRectF area{QPointF(), QSizeF(panelSize)};
    const auto paintWith = [&](double breath, bool direct) {
        QImage image = blankImage(panelSize.width(), panelSize.height());
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        if (direct)
            paintCharacter(painter, area, CharacterPalette{}, CharacterState::idle, breath);
        else
            look.paint(painter, area, CharacterState::idle, breath);
        return image;
    };
    // At this size a design unit is 196 / 160 pixels; whole quarter pixels come out almost
    // exactly, and every lift between stays close.
    const double quarterPixel = 0.25 / (196.0 / 160.0);
    for (int step = 0; step <= 8; ++step) {
        const double breath = step * quarterPixel;
        EXPECT_LE(largestDifference(paintWith(breath, false), paintWith(breath, true)), 3)
            << "breath " << breath;
    }
    for (double breath = 0; breath <= 1.6; breath += 0.07)
        EXPECT_LE(largestDifference(paintWith(breath, false), paintWith(breath, true)),
                  lookTolerance)
            << "breath " << breath;
    // The lift moves the figure: resting and top of the breath differ by far more than that.
    EXPECT_GT(largestDifference(paintWith(0, false), paintWith(1.6, false)), 100);
    EXPECT_LE(look.cachedFrames(), 8);
}

TEST_F(CharacterViewTest, KeptFramesAreMadeAgainForANewPaletteStyleOrPixelRatio) {
    CharacterLook look;
    const QRectF area{QPointF(), QSizeF(panelSize)};
    const auto paintAt = [&](double ratio, const CharacterPalette& palette, bool direct) {
        QImage image = blankImage(static_cast<int>(panelSize.width() * ratio),
                                  static_cast<int>(panelSize.height() * ratio));
        image.setDevicePixelRatio(ratio);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        if (direct)
            paintCharacter(painter, area, palette, CharacterState::idle, 0.5);
        else
            look.paint(painter, area, CharacterState::idle, 0.5);
        return image;
    };
    CharacterPalette blue;
    blue.traits.garmentPrimary = "#3E7CB1";
    blue.traits.wearsSari = false;

    EXPECT_LE(largestDifference(paintAt(1, {}, false), paintAt(1, {}, true)), lookTolerance);
    EXPECT_EQ(look.cachedFrames(), 1);

    look.setPalette(blue);
    EXPECT_EQ(look.cachedFrames(), 0);
    const QImage recoloured = paintAt(1, blue, false);
    EXPECT_LE(largestDifference(recoloured, paintAt(1, blue, true)), lookTolerance);
    EXPECT_GT(largestDifference(recoloured, paintAt(1, {}, true)), 100);

    // Twice the pixels: made again at the new size, not the old frame scaled up.
    EXPECT_LE(largestDifference(paintAt(2, blue, false), paintAt(2, blue, true)), lookTolerance);
    EXPECT_LE(largestDifference(paintAt(1, blue, false), paintAt(1, blue, true)), lookTolerance);

    look.setStyle(PortraitStyle::pixel);
    EXPECT_EQ(look.cachedFrames(), 0);
}

TEST_F(CharacterViewTest, ANewPaletteShowsInsteadOfKeptFrames) {
    CharacterView view(animator, store);
    view.resize(panelSize);
    for (int frame = 0; frame < 3; ++frame) {
        animator.step();
        shown(view);
    }
    CharacterPalette palette;
    palette.traits.garmentPrimary = "#3E7CB1";
    palette.traits.wearsSari = false;
    choose(PortraitStyle::cute, palette);
    const QImage image = shown(view);
    EXPECT_LE(largestDifference(image, drawn(palette)), lookTolerance);
    EXPECT_GT(largestDifference(image, drawn()), 100);
}

}  // namespace
}  // namespace lumenary
