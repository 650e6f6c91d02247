#pragma once
// The character as a widget: the drawn figure, the pixel sprite, the cartoon or the cut-out photo,
// chosen by the persona's portrait style, redrawn whenever the animator publishes a frame.

#include <QWidget>
#include <functional>
#include <memory>

#include "character/CharacterAnimator.h"
#include "store/Store.h"

class QImage;

namespace lumenary {

class CharacterView : public QWidget {
public:
    /// `animator` and `store` must outlive the view. The palette and style are read from the
    /// store's persona at every frame; the portrait images from its folder ("portrait.png",
    /// "portrait-cartoon.png") when the view is shown, when the style changes and when the
    /// portrait version does. A missing or unreadable image shows the drawn character instead.
    CharacterView(CharacterAnimator& animator, const Store& store, QWidget* parent = nullptr);
    ~CharacterView() override;

    /// The owner bumps this when the portrait files change, so the images are read again.
    void setPortraitVersion(int version);

    /// Called after every render of the pixel sprite (38 × 50 pixels) with the new bitmap and the
    /// state it shows. For tests and diagnostics; empty to remove.
    void setSpriteHook(std::function<void(const QImage& sprite, CharacterState state)> hook);

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace lumenary
