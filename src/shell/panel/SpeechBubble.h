#pragma once
// The speech bubble above the character: her greeting on a rounded, lightly tinted card that
// fades and grows in from its bottom edge and fades out again.

#include <QString>
#include <QVariantAnimation>
#include <QWidget>
#include <functional>
#include <optional>
#include <string>

namespace lumenary {

class SpeechBubble : public QWidget {
public:
    /// Hidden until the first text. Places itself inside `parent` (the companion panel).
    explicit SpeechBubble(QWidget* parent);

    /// Shows `text`, or hides for nothing; with `animate`, over 0.22 s with an ease-out curve.
    void setText(const std::optional<std::string>& text, bool animate = true);
    /// Draws an opaque card instead of a tinted one, for desktops that cannot show translucency.
    void setOpaque(bool opaque);

    /// Called when the bubble starts to show or has finished hiding, and when its size changes:
    /// the moments its owner's window shape may need to change.
    std::function<void()> onShapeChanged;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void animateTo(double target);
    void placeFor(const QString& text);
    QFont textFont() const;

    QString text_;
    bool opaque_ = false;
    double shown_ = 0;   // 0 hidden … 1 fully shown
    double target_ = 0;  // where shown_ is going
    QVariantAnimation animation_;
};

}  // namespace lumenary
