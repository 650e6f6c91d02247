// Three box blurs in a row approximate a Gaussian closely enough for a shadow and cost the same
// at any radius: each pass keeps a running sum along the row or column.
#include "character/SoftShadow.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace lumenary {

namespace {

// One box blur of half-width `reach` along `count` values `stride` apart; outside is transparent.
void boxBlur(const std::uint16_t* in, std::uint16_t* out, int count, int stride, int reach) {
    const int width = 2 * reach + 1;
    long sum = 0;
    for (int i = 0; i < std::min(reach, count); ++i)
        sum += in[i * stride];
    for (int i = 0; i < count; ++i) {
        if (i + reach < count)
            sum += in[(i + reach) * stride];
        if (i - reach - 1 >= 0)
            sum -= in[(i - reach - 1) * stride];
        out[i * stride] = static_cast<std::uint16_t>(sum / width);
    }
}

}  // namespace

SoftShadow softShadow(const QImage& source, QColor colour, double radius) {
    if (source.isNull())
        return {};
    // Three passes of a box of width w spread like a Gaussian of variance 3 (w² − 1) / 12.
    const double sigma = std::isfinite(radius) && radius > 0 ? std::min(radius, 512.0) / 2 : 0;
    const int reach = static_cast<int>(std::lround((std::sqrt(4 * sigma * sigma + 1) - 1) / 2));
    constexpr int passes = 3;
    const int margin = passes * reach;

    const QImage alphaSource = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int width = alphaSource.width() + 2 * margin;
    const int height = alphaSource.height() + 2 * margin;
    // Alpha scaled by 256 keeps precision through the passes' integer divisions.
    std::vector<std::uint16_t> alpha(static_cast<std::size_t>(width) * height, 0);
    for (int y = 0; y < alphaSource.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(alphaSource.constScanLine(y));
        std::uint16_t* row = alpha.data() + static_cast<std::size_t>(y + margin) * width + margin;
        for (int x = 0; x < alphaSource.width(); ++x)
            row[x] = static_cast<std::uint16_t>(qAlpha(line[x]) * 256);
    }

    std::vector<std::uint16_t> scratch(alpha.size(), 0);
    for (int pass = 0; pass < passes && reach > 0; ++pass) {
        for (int y = 0; y < height; ++y)
            boxBlur(alpha.data() + static_cast<std::size_t>(y) * width,
                    scratch.data() + static_cast<std::size_t>(y) * width, width, 1, reach);
        for (int x = 0; x < width; ++x)
            boxBlur(scratch.data() + x, alpha.data() + x, height, width, reach);
    }

    QImage shadow(width, height, QImage::Format_ARGB32_Premultiplied);
    const QRgb tint = colour.rgba();
    const int tintAlpha = qAlpha(tint);
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        const std::uint16_t* row = alpha.data() + static_cast<std::size_t>(y) * width;
        for (int x = 0; x < width; ++x) {
            const int a = (row[x] / 256) * tintAlpha / 255;
            line[x] = qPremultiply(qRgba(qRed(tint), qGreen(tint), qBlue(tint), a));
        }
    }
    return {shadow, margin};
}

}  // namespace lumenary
