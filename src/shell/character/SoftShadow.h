#pragma once
// A blurred, tinted copy of an image's outline: the drop shadow under the cut-out photo.

#include <QColor>
#include <QImage>

namespace lumenary {

struct SoftShadow {
    QImage image;    // null when the source was null
    int margin = 0;  // pixels the shadow reaches beyond the source on every side
};

/// The shape of `source`'s alpha channel filled with `colour` (its opacity included) and blurred
/// like a Gaussian of standard deviation `radius` / 2 pixels. The result is larger than the
/// source by `margin` on each side; draw it at the source's position moved up and left by
/// `margin`. A null source, or a radius that is not a positive number, gives an unblurred copy.
SoftShadow softShadow(const QImage& source, QColor colour, double radius);

}  // namespace lumenary
