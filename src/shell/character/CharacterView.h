#pragma once
// The character as a widget: the drawn figure, the pixel sprite, the cartoon or the cut-out photo,
// chosen by the persona's portrait style, redrawn whenever the animator publishes a frame.

#include <QWidget>

#include "character/CharacterAnimator.h"
#include "store/Store.h"

namespace lumenary {

class CharacterView : public QWidget {
public:
    /// `animator` and `store` must outlive the view. The palette and style are read from the
    /// store's persona; the portrait images from its folder.
    CharacterView(CharacterAnimator& animator, const Store& store, QWidget* parent = nullptr);
    ~CharacterView() override;

    /// The owner bumps this when the portrait files change, so the images are read again.
    void setPortraitVersion(int version);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace lumenary
