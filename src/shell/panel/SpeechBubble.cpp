#include "panel/SpeechBubble.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "desktop/CompanionLayout.h"

namespace lumenary {
namespace {

constexpr int kAnimationMilliseconds = 220;
constexpr double kSmallestScale = 0.94;
constexpr double kCornerRadius = 11;
// The design gives sizes in pixels at 96 dpi; Qt's point sizes count 72 to the inch.
constexpr double kFontPixels = 11.5;
constexpr double kPointsPerPixel = 72.0 / 96.0;
constexpr int kSidePadding = 10;
constexpr int kTopPadding = 7;

}  // namespace

SpeechBubble::SpeechBubble(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    animation_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&animation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        shown_ = value.toDouble();
        update();
    });
    connect(&animation_, &QVariantAnimation::finished, this, [this] {
        if (shown_ <= 0) {
            hide();
            text_.clear();
            if (onShapeChanged)
                onShapeChanged();
        }
    });
}

QFont SpeechBubble::textFont() const {
    QFont font = this->font();
    font.setPointSizeF(kFontPixels * kPointsPerPixel);
    return font;
}

void SpeechBubble::placeFor(const QString& text) {
    const int textWidth = CompanionLayout::bubbleTextWidth();
    const QRect needed =
        QFontMetrics(textFont())
            .boundingRect(QRect(0, 0, textWidth, 10000), Qt::TextWordWrap | Qt::AlignLeft, text);
    const CompanionLayout::Rect frame =
        CompanionLayout::bubbleFrame(needed.width(), needed.height());
    setGeometry(frame.x, frame.y, frame.width, frame.height);
}

void SpeechBubble::setText(const std::optional<std::string>& text, bool animate) {
    if (!text) {
        if (isHidden() || target_ == 0)
            return;
        if (animate) {
            animateTo(0);
        } else {
            animation_.stop();
            shown_ = target_ = 0;
            hide();
            text_.clear();
            if (onShapeChanged)
                onShapeChanged();
        }
        return;
    }
    const QString next = QString::fromStdString(*text);
    if (!isHidden() && target_ == 1 && next == text_)
        return;
    text_ = next;
    placeFor(text_);
    show();
    raise();
    if (animate) {
        animateTo(1);
    } else {
        animation_.stop();
        shown_ = target_ = 1;
    }
    update();
    if (onShapeChanged)
        onShapeChanged();  // shown now, or the new text has a new size
}

void SpeechBubble::setOpaque(bool opaque) {
    opaque_ = opaque;
    update();
}

void SpeechBubble::animateTo(double target) {
    animation_.stop();
    target_ = target;
    animation_.setStartValue(shown_);
    animation_.setEndValue(target);
    const double distance = std::abs(target - shown_);
    animation_.setDuration(std::max(1, static_cast<int>(kAnimationMilliseconds * distance)));
    animation_.start();
}

void SpeechBubble::paintEvent(QPaintEvent*) {
    if (text_.isEmpty() || shown_ <= 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(shown_);
    // Grows from its bottom edge, towards the character it belongs to.
    const double scale = kSmallestScale + (1 - kSmallestScale) * shown_;
    painter.translate(width() / 2.0, height());
    painter.scale(scale, scale);
    painter.translate(-width() / 2.0, -height());

    QColor card = palette().color(QPalette::Window);
    if (!opaque_)
        card.setAlphaF(0.94);
    QColor border = palette().color(QPalette::WindowText);
    border.setAlphaF(0.18);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()).adjusted(0.25, 0.25, -0.25, -0.25), kCornerRadius,
                         kCornerRadius);
    painter.fillPath(shape, card);
    painter.setPen(QPen(border, 0.5));
    painter.drawPath(shape);

    painter.setPen(palette().color(QPalette::WindowText));
    painter.setFont(textFont());
    painter.drawText(rect().adjusted(kSidePadding, kTopPadding, -kSidePadding, -kTopPadding),
                     Qt::TextWordWrap | Qt::AlignLeft | Qt::AlignVCenter, text_);
}

}  // namespace lumenary
