// The widget reads the persona on every frame, so a new palette or style shows within a frame
// without the store having to tell it; the images are read from disk only on a reload.
#include "character/CharacterView.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <optional>
#include <system_error>

#include "character/CharacterLook.h"

namespace lumenary {

namespace {

constexpr const char* portraitFile = "portrait.png";
constexpr const char* cartoonFile = "portrait-cartoon.png";

// The image in `path`, or a null image when it is missing or does not decode.
QImage readImage(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return {};
    return QImage(QFile::decodeName(QByteArray::fromStdString(path.native())));
}

}  // namespace

struct CharacterView::Private {
    CharacterAnimator& animator;
    const Store& store;
    CharacterLook look;
    int observation = 0;
    int portraitVersion = 0;
    bool loaded = false;

    // What the last paint showed. Breath moves a little every frame, but most frames it moves
    // the figure by less than the quarter device pixel the picture can show, and those frames
    // need no repaint: at 24 frames a second that is most of an idle panel's drawing.
    struct Shown {
        CharacterState state = CharacterState::idle;
        long quarterPixels = 0;
        CharacterPalette palette;
        PortraitStyle style = PortraitStyle::cute;
    };
    std::optional<Shown> shown = std::nullopt;

    Shown wanted(const QWidget& view) const {
        const double pixelsPerUnit =
            std::min(view.width() / 120.0, view.height() / 160.0) * view.devicePixelRatioF();
        const double breath = std::isfinite(animator.breath()) ? animator.breath() : 0;
        return {animator.state(), std::lround(breath * pixelsPerUnit * 4), store.persona().palette,
                store.persona().portraitStyle};
    }

    bool showsAlready(const Shown& frame) const {
        return shown && shown->state == frame.state &&
               shown->quarterPixels == frame.quarterPixels && shown->style == frame.style &&
               shown->palette == frame.palette;
    }

    void reload() {
        look.setStyle(store.persona().portraitStyle);
        look.setPalette(store.persona().palette);
        look.setImages(readImage(store.folder() / portraitFile),
                       readImage(store.folder() / cartoonFile));
        look.renderSprite(animator.state());
        loaded = true;
    }

    // Follows the persona and the animator's state; reloads when the style changed.
    void sync() {
        if (!loaded || store.persona().portraitStyle != look.style()) {
            reload();
            return;
        }
        look.setPalette(store.persona().palette);
        look.followState(animator.state());
    }
};

CharacterView::CharacterView(CharacterAnimator& animator, const Store& store, QWidget* parent)
    : QWidget(parent),
      d_(new Private{animator, store,
                     CharacterLook(store.persona().palette, store.persona().portraitStyle)}) {
    setAccessibleName(QString::fromLatin1(DrawnCharacter::accessibleName));
    d_->observation = animator.observe([this] {
        // Before the first show nothing is loaded yet; the first paint loads.
        if (d_->loaded)
            d_->sync();
        if (!d_->showsAlready(d_->wanted(*this)))
            update();
    });
}

CharacterView::~CharacterView() {
    d_->animator.unobserve(d_->observation);
}

void CharacterView::setPortraitVersion(int version) {
    if (version == d_->portraitVersion)
        return;
    d_->portraitVersion = version;
    if (d_->loaded)
        d_->reload();
    d_->shown.reset();
    update();
}

void CharacterView::setSpriteHook(std::function<void(const QImage&, CharacterState)> hook) {
    d_->look.setSpriteHook(std::move(hook));
}

void CharacterView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    d_->reload();
}

void CharacterView::paintEvent(QPaintEvent*) {
    d_->sync();
    d_->shown = d_->wanted(*this);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    d_->look.paint(painter, QRectF(rect()), d_->animator.state(), d_->animator.breath());
}

}  // namespace lumenary
