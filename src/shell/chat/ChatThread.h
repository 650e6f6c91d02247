#pragma once
// The scrolling conversation: a list view over ChatThreadModel drawn by BubbleDelegate. Rows are
// measured once and painted only while on screen, so ten thousand turns stay quick. The bubble
// under the pointer turns into selectable text.

#include <QListView>

#include "chat/ChatThreadModel.h"

namespace lumenary {

class BubbleDelegate;

class ChatThread : public QListView {
public:
    explicit ChatThread(QWidget* parent = nullptr);

    ChatThreadModel& rows() { return *model_; }

    /// Brings the rows in line with `transcript` and, when the number of turns changed, scrolls
    /// so that the newest one is in view.
    void sync(const std::vector<Store::Turn>& transcript);
    /// Shows or hides the typing indicator; it is scrolled into view if the newest turn was.
    void setThinking(bool thinking);

    /// Scrolls to the end of the conversation at once.
    void scrollToNewest();
    /// Whether the end of the conversation is in view.
    bool showsNewest() const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void hover(const QModelIndex& index);
    void stopHover();

    ChatThreadModel* model_;
    BubbleDelegate* delegate_;
    QPersistentModelIndex hovered_;
    bool scrollWhenShown_ = false;
};

}  // namespace lumenary
