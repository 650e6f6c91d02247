// The look by style, with the fall-backs: a missing image shows the drawn character. Images are
// scaled once per size, the sprite rendered once per state and the drawn character once per state
// and quarter pixel of breath, so a frame only copies pixels: filling the character's paths at
// 24 frames a second was most of the idle application's processor time.
#include "character/CharacterLook.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace lumenary {

namespace {

// The cut-out photo's drop shadow, in logical units: black at opacity 0.28, blurred with radius
// 9, five below the photo.
constexpr double photoShadowOpacity = 0.28;
constexpr double photoShadowRadius = 9;
constexpr double photoShadowDrop = 5;

// How many device pixels one painter unit covers, so that scaled copies are made at the size
// they are shown (twice as large on a display with a device pixel ratio of 2).
double pixelsPerUnit(const QPainter& painter) {
    const QTransform toDevice = painter.deviceTransform();
    const double scale = std::hypot(toDevice.m11(), toDevice.m12());
    return std::isfinite(scale) && scale > 0 ? scale : 1.0;
}

// Figure images kept at once. Speaking alternates two states, each with four quarter-pixel lifts;
// at 148 × 196 logical pixels and a device pixel ratio of 2 that is under 4 MB.
constexpr std::size_t maxFrames = 8;
// Beyond this many device pixels a side the images would cost more memory than painting costs
// time, so the character is painted directly.
constexpr int maxFrameSide = 2048;

// A transparent layer of `pixels` with `draw` painted on it through `toImage`.
template <typename Draw>
QImage renderLayer(QSize pixels, const QTransform& toImage, QPainter::RenderHints hints,
                   Draw&& draw) {
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHints(hints, true);
    painter.setWorldTransform(toImage);
    draw(painter);
    return image;
}

// setRenderHints() only adds or only removes, so the old set is restored in two steps.
void restoreHints(QPainter& painter, QPainter::RenderHints hints) {
    painter.setRenderHints(painter.renderHints(), false);
    painter.setRenderHints(hints, true);
}

}  // namespace

QRectF fitted(QSizeF imageSize, const QRectF& area) {
    if (imageSize.isEmpty() || area.isEmpty())
        return {};
    const double scale =
        std::min(area.width() / imageSize.width(), area.height() / imageSize.height());
    const QSizeF size = imageSize * scale;
    return {area.x() + (area.width() - size.width()) / 2,
            area.y() + (area.height() - size.height()) / 2, size.width(), size.height()};
}

CharacterLook::CharacterLook(const CharacterPalette& palette, PortraitStyle style)
    : palette_(palette), paints_(palette), style_(style) {}

void CharacterLook::setStyle(PortraitStyle style) {
    if (style != style_)
        dropFrames();  // another style never shows them, and coming back may be much later
    style_ = style;
}

void CharacterLook::dropFrames() {
    frames_.clear();
    floorShadow_ = {};
}

void CharacterLook::setPalette(const CharacterPalette& palette) {
    if (palette == palette_)
        return;
    palette_ = palette;
    paints_ = CharacterPaints(palette);
    dropFrames();
    spriteState_.reset();  // the next followState() or renderSprite() paints the new colours
}

void CharacterLook::setImages(QImage portrait, QImage cartoon) {
    // Premultiplied pixels are the ones the raster painter blends without converting each frame.
    portrait_ = portrait.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    cartoon_ = cartoon.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    scaledPortrait_ = {};
    scaledCartoon_ = {};
}

void CharacterLook::renderSprite(CharacterState state) {
    if (style_ != PortraitStyle::pixel)
        return;
    QImage sprite(spriteSize, QImage::Format_ARGB32_Premultiplied);
    sprite.fill(Qt::transparent);
    {
        QPainter painter(&sprite);
        painter.setRenderHint(QPainter::Antialiasing);
        paintCharacter(painter, QRectF(QPointF(0, 0), QSizeF(spriteSize)), paints_, state,
                       spriteBreath);
    }
    sprite_ = std::move(sprite);
    spriteState_ = state;
    if (spriteHook_)
        spriteHook_(sprite_, state);
}

void CharacterLook::followState(CharacterState state) {
    if (style_ == PortraitStyle::pixel && spriteState_ != state)
        renderSprite(state);
}

ShownLook CharacterLook::shown() const {
    switch (style_) {
        case PortraitStyle::cute:
            return ShownLook::drawn;
        case PortraitStyle::pixel:
            return sprite_.isNull() ? ShownLook::drawn : ShownLook::sprite;
        case PortraitStyle::cartoon:
            return cartoon_.isNull() ? ShownLook::drawn : ShownLook::cartoon;
        case PortraitStyle::photo:
            return portrait_.isNull() ? ShownLook::drawn : ShownLook::photo;
    }
    return ShownLook::drawn;
}

const QImage& CharacterLook::scaledCopy(const QImage& source, Scaled& cache, QSize pixels) {
    if (cache.size != pixels || cache.image.isNull()) {
        cache.size = pixels;
        cache.image = source.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        cache.shadow = {};
    }
    return cache.image;
}

void CharacterLook::paint(QPainter& painter, const QRectF& area, CharacterState state,
                          double breath) {
    if (!std::isfinite(area.x()) || !std::isfinite(area.y()) || !std::isfinite(area.width()) ||
        !std::isfinite(area.height()))
        return;
    if (!std::isfinite(breath))
        breath = 0;
    const ShownLook look = shown();
    if (look == ShownLook::drawn) {
        if (!paintCachedDrawn(painter, area, state, breath))
            paintCharacter(painter, area, paints_, state, breath);
        return;
    }

    const QPainter::RenderHints hintsBefore = painter.renderHints();
    if (look == ShownLook::sprite) {
        // Hard pixel edges: the sprite is scaled by repeating its pixels, never blended, and its
        // outer edge is not antialiased either.
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.drawImage(fitted(QSizeF(spriteSize), area).translated(0, -breath), sprite_);
        restoreHints(painter, hintsBefore);
        return;
    }

    const bool photo = look == ShownLook::photo;
    const QImage& source = photo ? portrait_ : cartoon_;
    const QRectF target = fitted(QSizeF(source.size()), area).translated(0, -breath);
    if (target.isEmpty())
        return;
    const double unit = pixelsPerUnit(painter);
    const QSize pixels(std::max(1, static_cast<int>(std::lround(target.width() * unit))),
                       std::max(1, static_cast<int>(std::lround(target.height() * unit))));
    Scaled& cache = photo ? scaledPortrait_ : scaledCartoon_;
    const QImage& scaled = scaledCopy(source, cache, pixels);

    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    if (photo) {
        if (cache.shadow.image.isNull())
            cache.shadow = softShadow(scaled, QColor::fromRgbF(0, 0, 0, photoShadowOpacity),
                                      photoShadowRadius * unit);
        const double margin = cache.shadow.margin / unit;
        painter.drawImage(
            QRectF(target.x() - margin, target.y() + photoShadowDrop - margin,
                   cache.shadow.image.width() / unit, cache.shadow.image.height() / unit),
            cache.shadow.image);
    }
    painter.drawImage(target, scaled);
    restoreHints(painter, hintsBefore);
}

bool CharacterLook::paintCachedDrawn(QPainter& painter, const QRectF& area, CharacterState state,
                                     double breath) {
    // Copying pixels one to one needs a painter that neither rotates, shears nor mirrors.
    const QTransform toDevice = painter.deviceTransform();
    if (toDevice.type() > QTransform::TxScale || !(toDevice.m11() > 0) || !(toDevice.m22() > 0))
        return false;
    const QRectF deviceArea = toDevice.mapRect(area);
    if (!(deviceArea.width() > 0) || !(deviceArea.height() > 0) ||
        deviceArea.width() > maxFrameSide || deviceArea.height() > maxFrameSide ||
        std::abs(deviceArea.x()) > 1e9 || std::abs(deviceArea.y()) > 1e9)
        return false;
    const QPointF corner(std::floor(deviceArea.x()), std::floor(deviceArea.y()));
    const QSize pixels(static_cast<int>(std::ceil(deviceArea.right() - corner.x())),
                       static_cast<int>(std::ceil(deviceArea.bottom() - corner.y())));

    const double designScale = std::min(area.width() / DrawnCharacter::designSize.width(),
                                        area.height() / DrawnCharacter::designSize.height());
    const double pixelsPerDesignUnit = designScale * toDevice.m22();
    const double lift = breath * pixelsPerDesignUnit;  // in device pixels
    if (!(std::abs(lift) < 1e6))
        return false;
    const long steps = std::lround(lift * 4);
    const long whole = steps >= 0 ? steps / 4 : -((-steps + 3) / 4);
    const int quarters = static_cast<int>(steps - whole * 4);

    const FrameGeometry geometry{toDevice.m11(), toDevice.m22(), area.size(),
                                 deviceArea.topLeft() - corner};
    if (!(geometry == frameGeometry_)) {
        dropFrames();
        frameGeometry_ = geometry;
    }
    // The layers are painted as the painter would, with its device's origin moved to `corner`.
    const QTransform toImage = toDevice * QTransform::fromTranslate(-corner.x(), -corner.y());
    const QPainter::RenderHints hints = painter.renderHints();
    if (floorShadow_.isNull())
        floorShadow_ = renderLayer(pixels, toImage, hints, [&](QPainter& layer) {
            paintFloorShadow(layer, area);
        });

    auto frame = std::find_if(frames_.begin(), frames_.end(), [&](const Frame& kept) {
        return kept.state == state && kept.quarters == quarters;
    });
    if (frame != frames_.end()) {
        std::rotate(frame, frame + 1, frames_.end());
    } else {
        if (frames_.size() >= maxFrames)
            frames_.erase(frames_.begin());
        const double frameBreath = quarters / 4.0 / pixelsPerDesignUnit;
        frames_.push_back({state, quarters,
                           renderLayer(pixels, toImage, hints, [&](QPainter& layer) {
                               paintFigure(layer, area, paints_, state, frameBreath);
                           })});
    }

    // With the device transform undone, one image pixel lands on one device pixel.
    const QTransform world = painter.worldTransform();
    painter.setWorldTransform(toDevice.inverted() * world);
    painter.drawImage(corner, floorShadow_);
    painter.drawImage(corner - QPointF(0, static_cast<double>(whole)), frames_.back().image);
    painter.setWorldTransform(world);
    return true;
}

}  // namespace lumenary
