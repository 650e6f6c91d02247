#include "desktop/CompanionLayout.h"

#include <algorithm>
#include <cmath>

namespace lumenary::CompanionLayout {
namespace {

constexpr int kRightMargin = 28;
constexpr int kBottomMargin = 4;
constexpr double kSideInsetShare = 0.18;
constexpr int kVerticalInset = 6;
constexpr int kBubbleGap = 4;
constexpr int kBubbleMostWidth = 190;
constexpr int kBubbleSidePadding = 10;
constexpr int kBubbleTopPadding = 7;

}  // namespace

Rect home(const Rect& available) {
    return Rect{available.right() - panelWidth - kRightMargin,
                available.bottom() - panelHeight - kBottomMargin, panelWidth, panelHeight};
}

Rect clickArea() {
    const int side = static_cast<int>(std::lround(panelWidth * kSideInsetShare));
    return Rect{side, kVerticalInset, panelWidth - 2 * side, panelHeight - 2 * kVerticalInset};
}

Rect characterFrame() {
    return Rect{(panelWidth - characterWidth) / 2, panelHeight - characterHeight, characterWidth,
                characterHeight};
}

int bubbleTextWidth() {
    return std::min(kBubbleMostWidth, panelWidth) - 2 * kBubbleSidePadding;
}

Rect bubbleFrame(int textWidth, int textHeight) {
    const int width = std::clamp(textWidth, 0, bubbleTextWidth()) + 2 * kBubbleSidePadding;
    const int height = std::max(textHeight, 0) + 2 * kBubbleTopPadding;
    const int bottom = characterFrame().y - kBubbleGap;
    return Rect{(panelWidth - width) / 2, std::max(0, bottom - height), width, height};
}

}  // namespace lumenary::CompanionLayout
