#pragma once
// The desktop application. Owns the store, the character's animator, her life on the desktop
// (Companion), the conversation (made on first use), the floating companion panel, the chat
// window (made once, then shown and hidden), the menu that the tray icon and the panel's right
// click share, and the tray icon. It shows what those decide and forwards what the user does;
// everything happens on the GUI thread, and nothing here waits on the network or the keyring.

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QObject>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "QtScheduler.h"
#include "character/CharacterAnimator.h"
#include "conversation/Conversation.h"
#include "conversation/Greeting.h"
#include "desktop/Companion.h"
#include "desktop/StatusMenu.h"
#include "providers/KeyCache.h"
#include "store/Store.h"

namespace lumenary {

class ChatWindow;
class CompanionPanel;
class TrayIcon;

class AppDelegate : public QObject {
public:
    struct Options {
        /// The data folder; empty for Store::defaultFolder().
        std::filesystem::path folder;
        /// The conversation's key lookup and model call. Without a key lookup the conversation
        /// asks the key cache (the keyring is read on a worker); without a model call it uses the
        /// real model client.
        Conversation::Services services;
        /// How the key cache reads one provider's key; empty for the keyring (Keys::get).
        KeyCache::Read readKey;
        /// Asks whether to clear the conversation; empty for the "Clear this conversation?" alert.
        std::function<bool()> confirmClear;
        /// Tells the user something failed (message, detail); empty for a warning alert.
        std::function<void(const std::string& message, const std::string& detail)> warn;
        /// Chooses the greeting; empty for a uniform random choice.
        Greeting::PickIndex pickGreeting;
        /// See CompanionPanel::Options.
        std::optional<bool> translucentPanel;
        bool animateBubble = true;
        /// Puts the "❁" into the system tray when there is one.
        bool trayIcon = true;
    };

    /// Loads the store. Shows nothing before start().
    AppDelegate();
    explicit AppDelegate(Options options);
    /// Waits for the work it started on worker threads to finish (see DesktopApplication::run
    /// for leaving without waiting on a slow provider).
    ~AppDelegate() override;

    /// The launch: the menu and tray icon, the first read of the keys, and then the companion
    /// panel, or, while her chats have not been brought across, a note that says how.
    void start();

    /// Puts the panel on the screen (made on first use) and, the first time, greets.
    void showCompanion();
    /// Opens the chat window (made on first use) in front; the bubble goes away.
    void openChat();
    /// A click on the character: hides the chat window when it shows, opens it otherwise.
    void toggleChat();
    void openSettings();

    /// The menu's actions.
    void menuTalk();
    void menuClearChat();
    void menuHide();
    void menuShow();
    void menuToggleLogin();
    void menuSettings();
    /// Saves the store and leaves the event loop.
    void menuQuit();

    Store& store() { return store_; }
    CharacterAnimator& animator() { return animator_; }
    Companion& companion() { return companion_; }
    KeyCache& keys() { return keys_; }
    /// Made on first use.
    Conversation& conversation();

    /// Null until made.
    CompanionPanel* panel() const { return panel_.get(); }
    ChatWindow* chatWindow() const { return chatWindow_.get(); }
    QMenu* menu() const { return menu_.get(); }
    QAction* action(StatusMenu::Action which) const;
    /// The note shown in place of the panel before her chats are brought across; null otherwise.
    QMessageBox* onboardingNote() const { return onboardingNote_.get(); }

private:
    void buildMenu();
    void refreshMenu();
    void perform(StatusMenu::Action which);
    void showOnboardingNote();
    void followCompanion();
    bool askToClear();
    void warn(const std::string& message, const std::string& detail);
    bool hasKey() const;

    Options options_;
    // Declared so that each part is destroyed before what it uses: the scheduler last, since the
    // animator's and the companion's timers are cancelled through it.
    QtScheduler scheduler_;
    Store store_;
    CharacterAnimator animator_;
    Companion companion_;
    KeyCache keys_;
    std::unique_ptr<Conversation> conversation_;
    std::unique_ptr<QMenu> menu_;
    std::map<StatusMenu::Action, QAction*> actions_;  // owned by menu_
    std::unique_ptr<CompanionPanel> panel_;
    std::unique_ptr<ChatWindow> chatWindow_;
    std::unique_ptr<QMessageBox> settingsNote_;
    std::unique_ptr<QMessageBox> onboardingNote_;
    std::unique_ptr<TrayIcon> tray_;
    bool panelOnScreen_ = false;
};

}  // namespace lumenary
