#pragma once
// The chat window: her name and small character, "Her words only", the key and error banners,
// the conversation as bubbles, the typing indicator and the composer. It shows the store and the
// conversation and forwards what the user types; it never decides an answer itself.
//
// Lives on the GUI thread. Closing the window only hides it, so the owner keeps one window for the
// whole run and an unsent draft is still there when it is opened again.

#include <QWidget>
#include <functional>
#include <memory>

#include "character/CharacterAnimator.h"
#include "conversation/Conversation.h"
#include "store/Store.h"

namespace lumenary {

class ChatWindow : public QWidget {
public:
    struct Context {
        Store& store;
        CharacterAnimator& animator;
        Conversation& conversation;
        /// Whether some provider has a key; cached by the caller, since the keyring may block.
        std::function<bool()> hasKey;
        /// Opens the settings window (the key banner's button).
        std::function<void()> openSettings;
    };

    /// Asks the user whether to clear the conversation; true clears it.
    using ClearConfirmation = std::function<bool(QWidget* window)>;

    /// The store, animator and conversation must outlive the window. Starts observing the store
    /// and the conversation at once and stops in the destructor.
    explicit ChatWindow(Context context, QWidget* parent = nullptr);
    ~ChatWindow() override;

    /// The key banner reads hasKey again (after the caller's cache changed).
    void refreshKeyState();
    /// The small character reloads its images.
    void setPortraitVersion(int version);

    /// Replaces the "Clear this conversation?" dialog (tests answer it without a dialog).
    void setClearConfirmation(ClearConfirmation confirm);

    /// The standard confirmation: a window-modal message box, "Cancel" by default.
    static bool askToClear(QWidget* window);

protected:
    void showEvent(QShowEvent* event) override;

private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace lumenary
