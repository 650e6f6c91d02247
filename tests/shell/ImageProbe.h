#pragma once
// Reading rendered pictures in tests: where the figure is, and what colour a point is.

#include <QColor>
#include <QImage>
#include <QRect>
#include <cstdlib>

namespace lumenary::testing {

/// A transparent picture of `width` × `height` to paint into.
inline QImage blankImage(int width, int height) {
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// The smallest rectangle holding every pixel that is not fully transparent; empty if none.
inline QRect paintedBounds(const QImage& image) {
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) != 0)
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

/// The colour at (x, y), opacity separated from the colour.
inline QColor colourAt(const QImage& image, double x, double y) {
    return image.pixelColor(static_cast<int>(x), static_cast<int>(y));
}

/// True when each channel of `colour` is within `tolerance` of `expected`'s and it is opaque.
inline bool near(const QColor& colour, const QColor& expected, int tolerance = 12) {
    return colour.alpha() == 255 && std::abs(colour.red() - expected.red()) <= tolerance &&
           std::abs(colour.green() - expected.green()) <= tolerance &&
           std::abs(colour.blue() - expected.blue()) <= tolerance;
}

/// The bounds of the pixels that differ between two pictures of one size; empty if none do.
inline QRect differingBounds(const QImage& a, const QImage& b) {
    QRect bounds;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (a.pixel(x, y) != b.pixel(x, y))
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

}  // namespace lumenary::testing
