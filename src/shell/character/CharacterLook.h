#pragma once
// What the character view paints for a portrait style: the drawn character, the pixel sprite,
// the cartoon or the cut-out photo, each image style falling back to the drawn character while
// its image is missing.

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QTransform>
#include <functional>
#include <optional>
#include <vector>

#include "character/DrawnCharacter.h"
#include "character/PortraitStyle.h"
#include "character/SoftShadow.h"

class QPainter;

namespace lumenary {

/// Which look is painted once the fall-backs are applied.
enum class ShownLook { drawn, sprite, cartoon, photo };

/// Keeps the images and everything derived from them (the paints, the sprite, smoothly scaled
/// copies, the photo's shadow) so that a frame only paints. GUI thread only.
class CharacterLook {
public:
    /// The sprite's bitmap, in pixels; the figure fits it at scale 0.3125.
    static constexpr QSize spriteSize{38, 50};
    /// The sprite is drawn mid-breath; it breathes on screen by moving as a whole.
    static constexpr double spriteBreath = 0.8;
    /// Called after every sprite render, with the new bitmap and the state it shows.
    using SpriteHook = std::function<void(const QImage& sprite, CharacterState state)>;

    explicit CharacterLook(const CharacterPalette& palette = {},
                           PortraitStyle style = PortraitStyle::cute);

    const CharacterPalette& palette() const { return palette_; }
    /// Nothing when unchanged; otherwise new paints, and the sprite counts as out of date.
    void setPalette(const CharacterPalette& palette);

    PortraitStyle style() const { return style_; }
    /// Only chooses; the owner reloads (setImages, renderSprite) after a change of style.
    void setStyle(PortraitStyle style);

    /// The cut-out photo and the cartoon; a null image is a missing file.
    void setImages(QImage portrait, QImage cartoon);

    /// In the pixel style, renders the sprite for `state` (always; this is the reload's render).
    void renderSprite(CharacterState state);
    /// In the pixel style, renders the sprite again only when `state` is not the one it shows or
    /// the palette changed since.
    void followState(CharacterState state);
    const QImage& sprite() const { return sprite_; }
    void setSpriteHook(SpriteHook hook) { spriteHook_ = std::move(hook); }

    ShownLook shown() const;

    /// Paints the shown look fitted and centred in `area`. The drawn character takes `state` and
    /// `breath` (design units); the images only rise by `breath` (in the painter's units). Leaves
    /// the painter's state as it found it.
    ///
    /// Under a painter that only scales and moves, the drawn character is copied from images kept
    /// per state and per quarter device pixel of lift, clipped to `area` rounded out to whole
    /// device pixels; a lift is shown to within an eighth of a device pixel.
    void paint(QPainter& painter, const QRectF& area, CharacterState state, double breath);

    /// How many figure images are kept now; for tests and diagnostics.
    int cachedFrames() const { return static_cast<int>(frames_.size()); }

private:
    // A smoothly scaled copy of an image for one target size, made once per size.
    struct Scaled {
        QImage image;
        QSize size;
        SoftShadow shadow;  // photo only
    };
    const QImage& scaledCopy(const QImage& source, Scaled& cache, QSize pixels);

    // One figure image: the body and face lifted by `quarters` / 4 device pixels within a device
    // pixel; whole pixels of lift are added when it is copied.
    struct Frame {
        CharacterState state;
        int quarters;
        QImage image;
    };
    // Where the kept images belong: the painter's scale, the area's size and the fraction of a
    // device pixel its corner falls on. Any difference and the images are made again.
    struct FrameGeometry {
        double scaleX = 0, scaleY = 0;
        QSizeF size;
        QPointF fraction;
        bool operator==(const FrameGeometry&) const = default;
    };
    bool paintCachedDrawn(QPainter& painter, const QRectF& area, CharacterState state,
                          double breath);
    void dropFrames();

    CharacterPalette palette_;
    CharacterPaints paints_;
    PortraitStyle style_;
    QImage portrait_;
    QImage cartoon_;
    QImage sprite_;
    std::optional<CharacterState> spriteState_;
    SpriteHook spriteHook_;
    Scaled scaledPortrait_;
    Scaled scaledCartoon_;
    FrameGeometry frameGeometry_;
    QImage floorShadow_;
    std::vector<Frame> frames_;  // most recently used last
};

/// The largest rectangle of `imageSize`'s proportions inside `area`, centred in it; empty when
/// either has no area.
QRectF fitted(QSizeF imageSize, const QRectF& area);

}  // namespace lumenary
