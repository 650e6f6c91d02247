#pragma once
// The floating companion: a small frameless window at the bottom right of the screen that holds
// the animated character and her speech bubble. It never takes the keyboard focus, has no
// taskbar entry, stays above other windows and can be dragged; clicks on its transparent margins
// reach the windows below.

#include <QPixmap>
#include <QPoint>
#include <QRegion>
#include <QWidget>
#include <functional>
#include <optional>

#include "character/CharacterAnimator.h"
#include "desktop/Companion.h"
#include "store/Store.h"

namespace lumenary {

class CharacterView;
class SpeechBubble;

class CompanionPanel : public QWidget {
public:
    struct Options {
        /// Translucent over the desktop, or (false) an opaque card cut to shape by a window mask,
        /// for X servers without a compositor, where translucent pixels come out black. Nothing:
        /// ask the X server (translucent away from X11).
        std::optional<bool> translucent;
        /// Bubbles fade in and out; off for still pictures.
        bool animate = true;
    };

    /// `animator`, `store` and `companion` must outlive the panel. Creates the native window
    /// (hidden) at its home position; the bubble follows the companion's.
    CompanionPanel(CharacterAnimator& animator, const Store& store, Companion& companion,
                   Options options);
    ~CompanionPanel() override;

    /// A left click on the character (not the end of a drag).
    std::function<void()> onTap;
    /// A right click anywhere that takes the mouse, with its position on the screen.
    std::function<void(const QPoint& globalPosition)> onMenu;

    /// Moves to the home position on the primary screen; stays put when there is none. Called by
    /// itself whenever screens are added, removed or rearranged.
    void goHome();
    /// The part of the panel that takes the mouse, in its own coordinates.
    QRegion inputRegion() const;
    bool isTranslucent() const { return translucent_; }
    /// The character reloads its portrait images.
    void setPortraitVersion(int version);

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void applyShape();
    void followScreens();
    bool onCharacter(const QPoint& position) const;

    const Store& store_;
    Companion& companion_;
    Options options_;
    bool translucent_ = true;
    CharacterView* character_ = nullptr;
    SpeechBubble* bubble_ = nullptr;
    QPixmap card_;  // the opaque card, drawn once
    int observation_ = 0;

    // A left press inside the panel: where it began, and whether it has become a drag.
    bool pressed_ = false;
    bool dragging_ = false;
    QPoint pressGlobal_;
    QPoint pressWindowPosition_;
};

}  // namespace lumenary
