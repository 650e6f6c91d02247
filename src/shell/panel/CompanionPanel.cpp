#include "panel/CompanionPanel.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QToolTip>
#include <QWindow>

#include "character/CharacterView.h"
#include "desktop/CompanionLayout.h"
#include "panel/SpeechBubble.h"
#include "panel/X11Desktop.h"

namespace lumenary {
namespace {

constexpr double kCardCornerRadius = 18;

QRect toQRect(const CompanionLayout::Rect& rect) {
    return QRect(rect.x, rect.y, rect.width, rect.height);
}

// The opaque card behind the character when the desktop cannot show translucency.
QPainterPath cardShape() {
    QPainterPath path;
    path.addRoundedRect(QRectF(toQRect(CompanionLayout::characterFrame())), kCardCornerRadius,
                        kCardCornerRadius);
    return path;
}

}  // namespace

CompanionPanel::CompanionPanel(CharacterAnimator& animator, const Store& store,
                               Companion& companion, Options options)
    : store_(store), companion_(companion), options_(options) {
    translucent_ = options_.translucent.value_or(X11Desktop::compositing().value_or(true));

    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus);
    setAttribute(Qt::WA_ShowWithoutActivating);
    // Chosen before the native window exists: it picks the window's visual.
    setAttribute(Qt::WA_TranslucentBackground, translucent_);
    setWindowTitle("Lumenary");
    setFixedSize(CompanionLayout::panelWidth, CompanionLayout::panelHeight);

    character_ = new CharacterView(animator, store, this);
    character_->setGeometry(toQRect(CompanionLayout::characterFrame()));
    // The panel decides what a click means; the view only draws.
    character_->setAttribute(Qt::WA_TransparentForMouseEvents);

    bubble_ = new SpeechBubble(this);
    bubble_->setOpaque(!translucent_);
    bubble_->onShapeChanged = [this] { applyShape(); };

    // The native window is made now, so that its taskbar and workspace states are in place
    // before the window manager first sees it mapped.
    winId();
    X11Desktop::markAsAccessory(windowHandle());
    applyShape();
    goHome();
    followScreens();

    observation_ =
        companion_.observe([this] { bubble_->setText(companion_.bubble(), options_.animate); });
    bubble_->setText(companion_.bubble(), false);
}

CompanionPanel::~CompanionPanel() {
    companion_.unobserve(observation_);
}

void CompanionPanel::followScreens() {
    auto watch = [this](QScreen* screen) {
        connect(screen, &QScreen::availableGeometryChanged, this, [this] { goHome(); });
    };
    for (QScreen* screen : QGuiApplication::screens())
        watch(screen);
    connect(qApp, &QGuiApplication::screenAdded, this, [this, watch](QScreen* screen) {
        watch(screen);
        goHome();
    });
    connect(qApp, &QGuiApplication::screenRemoved, this, [this] { goHome(); });
    connect(qApp, &QGuiApplication::primaryScreenChanged, this, [this] { goHome(); });
}

void CompanionPanel::goHome() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return;
    const QRect available = screen->availableGeometry();
    const CompanionLayout::Rect home = CompanionLayout::home(
        {available.x(), available.y(), available.width(), available.height()});
    move(home.x, home.y);
}

QRegion CompanionPanel::inputRegion() const {
    return QRegion(toQRect(CompanionLayout::clickArea()));
}

void CompanionPanel::setPortraitVersion(int version) {
    character_->setPortraitVersion(version);
}

void CompanionPanel::applyShape() {
    if (!translucent_) {
        // Without a compositor the window's shape is its picture: the card, and the bubble
        // while it shows.
        QRegion shape(cardShape().toFillPolygon().toPolygon());
        if (bubble_->isVisible())
            shape += bubble_->geometry();
        setMask(shape);
    }
    X11Desktop::setInputShape(windowHandle(), inputRegion());
}

void CompanionPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // Some window managers recreate the frame around a window when it is mapped again; the
    // input shape is set again so the margins stay click-through.
    applyShape();
}

void CompanionPanel::paintEvent(QPaintEvent*) {
    if (translucent_)
        return;
    // The card lies under the character, so it is painted again with every frame of hers: drawn
    // once into a picture, it costs a copy instead of an antialiased fill and stroke.
    const qreal ratio = devicePixelRatioF();
    if (card_.isNull() || card_.devicePixelRatio() != ratio) {
        card_ = QPixmap(size() * ratio);
        card_.setDevicePixelRatio(ratio);
        card_.fill(Qt::transparent);
        QPainter painter(&card_);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor border = palette().color(QPalette::WindowText);
        border.setAlphaF(0.18);
        painter.fillPath(cardShape(), palette().color(QPalette::Window));
        painter.setPen(QPen(border, 1));
        painter.drawPath(cardShape());
    }
    QPainter(this).drawPixmap(0, 0, card_);
}

void CompanionPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        card_ = QPixmap();  // drawn again in the new colours
    QWidget::changeEvent(event);
}

bool CompanionPanel::onCharacter(const QPoint& position) const {
    return CompanionLayout::clickArea().contains(position.x(), position.y()) &&
           CompanionLayout::characterFrame().contains(position.x(), position.y());
}

bool CompanionPanel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        if (onCharacter(help->pos())) {
            QToolTip::showText(help->globalPos(),
                               QString::fromStdString("Talk to " + store_.persona().name), this);
        } else {
            QToolTip::hideText();
        }
        return true;
    }
    return QWidget::event(event);
}

void CompanionPanel::mousePressEvent(QMouseEvent* event) {
    const QPoint position = event->position().toPoint();
    if (event->button() != Qt::LeftButton ||
        !CompanionLayout::clickArea().contains(position.x(), position.y())) {
        event->ignore();
        return;
    }
    pressed_ = true;
    dragging_ = false;
    pressGlobal_ = event->globalPosition().toPoint();
    pressWindowPosition_ = pos();
}

void CompanionPanel::mouseMoveEvent(QMouseEvent* event) {
    if (!pressed_)
        return;
    const QPoint travel = event->globalPosition().toPoint() - pressGlobal_;
    if (!dragging_ && travel.manhattanLength() >= QApplication::startDragDistance())
        dragging_ = true;
    if (dragging_)
        move(pressWindowPosition_ + travel);
}

void CompanionPanel::mouseReleaseEvent(QMouseEvent* event) {
    if (!pressed_ || event->button() != Qt::LeftButton)
        return;
    pressed_ = false;
    if (!dragging_ && onCharacter(event->position().toPoint()) && onTap)
        onTap();
}

void CompanionPanel::contextMenuEvent(QContextMenuEvent* event) {
    if (!CompanionLayout::clickArea().contains(event->pos().x(), event->pos().y())) {
        event->ignore();
        return;
    }
    if (onMenu)
        onMenu(event->globalPos());
}

}  // namespace lumenary
