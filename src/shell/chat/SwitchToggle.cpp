#include "chat/SwitchToggle.h"

#include <QPainter>

namespace lumenary {
namespace {
constexpr int kGap = 6;  // between the label and the track
}

SwitchToggle::SwitchToggle(const QString& label, QWidget* parent) : QAbstractButton(parent) {
    setText(label);
    setCheckable(true);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SwitchToggle::trackSize() const {
    // The track follows the label's size, so a larger desktop font gives a larger switch.
    const int height = std::max(14, fontMetrics().height());
    return {height * 7 / 4, height};
}

QSize SwitchToggle::sizeHint() const {
    const QSize track = trackSize();
    return {fontMetrics().horizontalAdvance(text()) + kGap + track.width() + 2, track.height() + 2};
}

void SwitchToggle::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QSize track = trackSize();
    const QRectF trackRect(width() - track.width() - 1, (height() - track.height()) / 2.0,
                           track.width(), track.height());
    const QRectF labelRect(0, 0, trackRect.left() - kGap, height());

    QColor textColor =
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText);
    p.setPen(textColor);
    p.drawText(labelRect, Qt::AlignVCenter | Qt::AlignLeft, text());

    QColor off = palette().color(QPalette::WindowText);
    off.setAlphaF(0.2f);
    const QColor on = palette().color(QPalette::Highlight);
    const qreal radius = trackRect.height() / 2;
    p.setPen(Qt::NoPen);
    p.setBrush(isChecked() ? on : off);
    if (!isEnabled())
        p.setOpacity(0.5);
    p.drawRoundedRect(trackRect, radius, radius);

    const qreal knob = trackRect.height() - 4;
    const qreal knobX = isChecked() ? trackRect.right() - 2 - knob : trackRect.left() + 2;
    p.setBrush(Qt::white);
    p.setPen(QPen(QColor(0, 0, 0, 40), 0.5));
    p.drawEllipse(QRectF(knobX, trackRect.top() + 2, knob, knob));

    if (hasFocus()) {
        QPen focus(palette().color(QPalette::Highlight), 1.5);
        p.setPen(focus);
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(trackRect.adjusted(-1.5, -1.5, 1.5, 1.5), radius + 1.5, radius + 1.5);
    }
}

}  // namespace lumenary
