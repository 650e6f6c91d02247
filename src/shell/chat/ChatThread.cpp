#include "chat/ChatThread.h"

#include <QApplication>
#include <QScrollBar>

#include "chat/BubbleDelegate.h"
#include "chat/ChatStyle.h"

namespace lumenary {

ChatThread::ChatThread(QWidget* parent) : QListView(parent) {
    setObjectName("thread");
    model_ = new ChatThreadModel(this);
    delegate_ = new BubbleDelegate(this);
    setModel(model_);
    setItemDelegate(delegate_);

    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::NoSelection);
    setFocusPolicy(Qt::NoFocus);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    verticalScrollBar()->setSingleStep(24);
    ChatStyle::makeSlim(verticalScrollBar());
    // Bubbles wrap to the window's width, so a resize measures them again.
    setResizeMode(QListView::Adjust);
    setUniformItemSizes(false);
    setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);

    connect(this, &QAbstractItemView::entered, this, [this](const QModelIndex& i) { hover(i); });
    connect(this, &QAbstractItemView::viewportEntered, this, [this] { stopHover(); });
    connect(model_, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
        // The view closes every editor itself on a reset.
        hovered_ = QPersistentModelIndex();
        delegate_->forget();
    });
}

void ChatThread::sync(const std::vector<Store::Turn>& transcript) {
    const std::size_t before = model_->turnCount();
    model_->sync(transcript);
    if (ChatPresentation::scrollsToNewest(before, model_->turnCount()))
        scrollToNewest();
}

void ChatThread::setThinking(bool thinking) {
    const bool follow = showsNewest();
    model_->setThinking(thinking);
    if (thinking && follow)
        scrollToNewest();
}

void ChatThread::scrollToNewest() {
    // Laying rows out before the window has its size would measure every bubble twice.
    if (!isVisible()) {
        scrollWhenShown_ = true;
        return;
    }
    scrollWhenShown_ = false;
    // The rows are laid out on the next turn of the event loop; the scroll range must include
    // the new ones now.
    executeDelayedItemsLayout();
    scrollToBottom();
}

void ChatThread::showEvent(QShowEvent* event) {
    QListView::showEvent(event);
    if (scrollWhenShown_)
        scrollToNewest();
}

bool ChatThread::showsNewest() const {
    const QScrollBar* bar = verticalScrollBar();
    return bar->value() >= bar->maximum();
}

void ChatThread::resizeEvent(QResizeEvent* event) {
    const bool follow = showsNewest();
    QListView::resizeEvent(event);
    if (follow)
        scrollToNewest();
}

void ChatThread::hover(const QModelIndex& index) {
    if (index == hovered_)
        return;
    // While a button is held the user is selecting in the open bubble; keep it.
    if (QApplication::mouseButtons() != Qt::NoButton)
        return;
    stopHover();
    if (!(model_->flags(index) & Qt::ItemIsEditable))
        return;
    hovered_ = index;
    openPersistentEditor(index);
}

void ChatThread::stopHover() {
    // A selection being made is kept until the button is released.
    if (!hovered_.isValid() || QApplication::mouseButtons() != Qt::NoButton)
        return;
    const QModelIndex index = hovered_;
    hovered_ = QPersistentModelIndex();
    closePersistentEditor(index);
}

void ChatThread::leaveEvent(QEvent* event) {
    QListView::leaveEvent(event);
    stopHover();
}

}  // namespace lumenary
