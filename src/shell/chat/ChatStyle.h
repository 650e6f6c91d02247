#pragma once
// The chat window's look in one place: its tints, the muted text colour, fonts scaled from the
// desktop's own font, and the thin dividers between its parts.

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QScrollBar>
#include <QString>
#include <QWidget>
#include <string_view>

namespace lumenary::ChatStyle {

/// The warm accent of her side: banners, her model replies, the typing indicator.
QColor orange(double opacity = 1.0);
/// Her real messages.
QColor green(double opacity = 1.0);
/// Muted text and the user's own bubbles, from the widget palette so dark themes work.
QColor secondary(const QPalette& palette, double opacity = 1.0);

/// The desktop font resized so that `size` is measured against a 13-unit body text: 13 is the
/// desktop's normal size, 11 a little smaller. Keeps the user's chosen font and scaling.
QFont font(double size, QFont::Weight weight = QFont::Normal);

QString qstr(std::string_view text);

/// A slim vertical scroll bar without arrows, as the desktop's own chat and mail clients draw
/// it; its greys are translucent so light and dark themes both suit it.
void makeSlim(QScrollBar* bar);

/// A one-pixel horizontal rule in a faint text colour.
class Divider : public QWidget {
public:
    explicit Divider(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace lumenary::ChatStyle
