// The character view against a real store folder and animator: the look chosen by the persona's
// style, the fall-back to the drawn character, and the pixel sprite's rendering.
#include <gtest/gtest.h>

#include <QPainter>
#include <set>
#include <vector>

#include "ImageProbe.h"
#include "ManualScheduler.h"
#include "OffscreenApplication.h"
#include "TestSupport.h"
#include "character/CharacterView.h"
#include "character/DrawnCharacter.h"

namespace lumenary {
namespace {

using testing::blankImage;
using testing::colourAt;
using testing::near;
using testing::paintedBounds;

const QSize panelSize(148, 196);

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
    EXPECT_EQ(shown(view), drawn());  // cute

    choose(PortraitStyle::photo);
    EXPECT_EQ(shown(view), drawn());
    folder.write("portrait.png", "not a picture");
    view.setPortraitVersion(1);
    EXPECT_EQ(shown(view), drawn());

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
    EXPECT_EQ(shown(view), drawn());
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
    EXPECT_EQ(shown(view), drawn(palette));
}

}  // namespace
}  // namespace lumenary
