// Placeholder until the drawn character lands: an empty transparent view that follows the frames.
#include "character/CharacterView.h"

namespace lumenary {

struct CharacterView::Private {
    CharacterAnimator& animator;
    int observation = 0;
};

CharacterView::CharacterView(CharacterAnimator& animator, const Store&, QWidget* parent)
    : QWidget(parent), d_(new Private{animator, 0}) {
    d_->observation = animator.observe([this] { update(); });
}

CharacterView::~CharacterView() {
    d_->animator.unobserve(d_->observation);
}

void CharacterView::setPortraitVersion(int) {
    update();
}

void CharacterView::paintEvent(QPaintEvent*) {}

}  // namespace lumenary
