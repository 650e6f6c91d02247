#include "chat/ChatStyle.h"

#include <QApplication>
#include <QPainter>
#include <cmath>

namespace lumenary::ChatStyle {

QColor orange(double opacity) {
    QColor color(0xF2, 0x8C, 0x28);
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

QColor green(double opacity) {
    QColor color(0x2F, 0xB3, 0x4F);
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

QColor secondary(const QPalette& palette, double opacity) {
    QColor color = palette.color(QPalette::WindowText);
    // Half-strength text reads as secondary on light and dark themes alike.
    color.setAlphaF(static_cast<float>(0.55 * opacity));
    return color;
}

QFont font(double size, QFont::Weight weight) {
    QFont result = QApplication::font();
    const double scale = size / 13.0;
    if (result.pointSizeF() > 0) {
        result.setPointSizeF(result.pointSizeF() * scale);
    } else if (result.pixelSize() > 0) {
        result.setPixelSize(std::max(1, static_cast<int>(std::lround(result.pixelSize() * scale))));
    }
    result.setWeight(weight);
    return result;
}

QString qstr(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void makeSlim(QScrollBar* bar) {
    bar->setStyleSheet(
        "QScrollBar:vertical { background: transparent; width: 10px; margin: 2px 0; }"
        "QScrollBar::handle:vertical { background: rgba(128, 128, 128, 110); min-height: 28px;"
        "  border-radius: 3px; margin: 0 2px; }"
        "QScrollBar::handle:vertical:hover { background: rgba(128, 128, 128, 170); }"
        "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }"
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: none; }");
}

Divider::Divider(QWidget* parent) : QWidget(parent) {
    setFixedHeight(1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Divider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QColor line = palette().color(QPalette::WindowText);
    line.setAlphaF(0.12f);
    painter.fillRect(rect(), line);
}

}  // namespace lumenary::ChatStyle
