// The look by style, with the fall-backs: a missing image shows the drawn character. Images are
// scaled once per size and the sprite once per state, so a frame only copies pixels.
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

void CharacterLook::setPalette(const CharacterPalette& palette) {
    if (palette == palette_)
        return;
    palette_ = palette;
    paints_ = CharacterPaints(palette);
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

}  // namespace lumenary
