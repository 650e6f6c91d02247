#pragma once
// The chat window: her name and small character, "Her words only", the key and error banners,
// the conversation as bubbles, the typing indicator and the composer. It shows the store and the
// conversation and forwards what the user types; it never decides an answer itself.

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

    explicit ChatWindow(Context context, QWidget* parent = nullptr);
    ~ChatWindow() override;

    /// The key banner reads hasKey again (after the caller's cache changed).
    void refreshKeyState();
    /// The small character reloads its images.
    void setPortraitVersion(int version);

private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace lumenary
