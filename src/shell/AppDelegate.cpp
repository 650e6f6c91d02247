#include "AppDelegate.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPushButton>
#include <QScreen>
#include <QThreadPool>

#include "ConfirmationBox.h"
#include "LoginItem.h"
#include "TrayIcon.h"
#include "chat/ChatWindow.h"
#include "panel/CompanionPanel.h"

namespace lumenary {
namespace {

constexpr int kChatWidth = 400;
constexpr int kChatHeight = 520;

// Where a Linux desktop keeps the same switch, for when writing the autostart entry failed.
constexpr const char* kLoginItemsHint =
    "\n\nYou can also set this in your desktop's settings for startup applications.";

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

}  // namespace

AppDelegate::AppDelegate() : AppDelegate(Options{}) {}

AppDelegate::AppDelegate(Options options)
    : options_(std::move(options)),
      store_(options_.folder.empty() ? Store::defaultFolder() : options_.folder),
      animator_(scheduler_),
      companion_(store_, animator_, scheduler_, options_.pickGreeting),
      keys_(scheduler_, options_.readKey) {
    buildMenu();
    followCompanion();
    keys_.observe([this] {
        if (chatWindow_)
            chatWindow_->refreshKeyState();
    });
    // A session that ends (logout) quits without the menu; what changed is saved all the same.
    if (QCoreApplication::instance() != nullptr) {
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
                [this] { store_.save(); });
    }
}

AppDelegate::~AppDelegate() {
    // Work on a worker (a keyring read, a model call) hands its answer to the scheduler, which
    // must still be there when it does.
    QThreadPool::globalInstance()->waitForDone();
}

void AppDelegate::start() {
    if (options_.trayIcon)
        tray_ = std::make_unique<TrayIcon>(*menu_, scheduler_);
    keys_.refresh();
    if (store_.persona().onboarded) {
        showCompanion();
    } else {
        showOnboardingNote();
    }
}

Conversation& AppDelegate::conversation() {
    if (!conversation_) {
        Conversation::Services services = options_.services;
        if (!services.key)
            services.key = keys_.lookup();
        conversation_ =
            std::make_unique<Conversation>(store_, animator_, scheduler_, std::move(services));
    }
    return *conversation_;
}

QAction* AppDelegate::action(StatusMenu::Action which) const {
    const auto found = actions_.find(which);
    return found == actions_.end() ? nullptr : found->second;
}

void AppDelegate::buildMenu() {
    menu_ = std::make_unique<QMenu>();
    for (const StatusMenu::Item& item : StatusMenu::items(store_.persona().name)) {
        if (!item.action) {
            menu_->addSeparator();
            continue;
        }
        QAction* entry = menu_->addAction(qt(item.title));
        entry->setShortcut(QKeySequence(qt(item.shortcut)));
        entry->setCheckable(item.checkable);
        actions_[*item.action] = entry;
        connect(entry, &QAction::triggered, this, [this, which = *item.action] { perform(which); });
    }
    // The name may have changed and the autostart entry may have been edited elsewhere since
    // the menu was last open.
    connect(menu_.get(), &QMenu::aboutToShow, this, [this] { refreshMenu(); });
    refreshMenu();
}

void AppDelegate::refreshMenu() {
    action(StatusMenu::Action::talk)
        ->setText(qt(StatusMenu::items(store_.persona().name)[0].title));
    action(StatusMenu::Action::toggleLogin)
        ->setChecked(LoginItem::status() == LoginItem::Status::enabled);
}

void AppDelegate::perform(StatusMenu::Action which) {
    switch (which) {
        case StatusMenu::Action::talk:
            return menuTalk();
        case StatusMenu::Action::clearConversation:
            return menuClearChat();
        case StatusMenu::Action::hide:
            return menuHide();
        case StatusMenu::Action::show:
            return menuShow();
        case StatusMenu::Action::toggleLogin:
            return menuToggleLogin();
        case StatusMenu::Action::settings:
            return menuSettings();
        case StatusMenu::Action::quit:
            return menuQuit();
    }
}

void AppDelegate::followCompanion() {
    companion_.observe([this] {
        if (!panel_)
            return;
        const bool onScreen = companion_.isOnScreen();
        if (onScreen && !panelOnScreen_) {
            panel_->show();
            panel_->raise();
        } else if (!onScreen && panelOnScreen_) {
            panel_->hide();
        }
        panelOnScreen_ = onScreen;
    });
}

void AppDelegate::showCompanion() {
    if (!panel_) {
        panel_ = std::make_unique<CompanionPanel>(
            animator_, store_, companion_,
            CompanionPanel::Options{options_.translucentPanel, options_.animateBubble});
        panel_->onTap = [this] { toggleChat(); };
        panel_->onMenu = [this](const QPoint& where) { menu_->popup(where); };
    } else if (companion_.isOnScreen()) {
        panel_->raise();
    }
    companion_.appear();
}

void AppDelegate::showOnboardingNote() {
    if (!onboardingNote_) {
        onboardingNote_ = std::make_unique<QMessageBox>();
        onboardingNote_->setWindowTitle("Lumenary");
        onboardingNote_->setText("Lumenary doesn't have her chats yet.");
        onboardingNote_->setInformativeText(
            "Bringing them across in the app is not in this build yet. Start Lumenary once with "
            "a WhatsApp export instead:\n\nlumenary --demo <_chat.txt or .zip> --as <her name>");
        onboardingNote_->setStandardButtons(QMessageBox::Close);
        // Without her there is nothing to show, and maybe no tray to quit from.
        connect(onboardingNote_.get(), &QMessageBox::finished, this, [this] { menuQuit(); });
    }
    onboardingNote_->show();
    onboardingNote_->raise();
    onboardingNote_->activateWindow();
}

void AppDelegate::openChat() {
    companion_.hush();
    if (!chatWindow_) {
        chatWindow_ = std::make_unique<ChatWindow>(
            ChatWindow::Context{store_, animator_, conversation(), [this] { return hasKey(); },
                                [this] { openSettings(); }});
        chatWindow_->resize(kChatWidth, kChatHeight);
        // The application's own shortcuts (Ctrl+, and Ctrl+Q) work wherever its one ordinary
        // window has the focus.
        chatWindow_->addAction(action(StatusMenu::Action::settings));
        chatWindow_->addAction(action(StatusMenu::Action::quit));
        if (const QScreen* screen = QGuiApplication::primaryScreen()) {
            QRect frame = chatWindow_->frameGeometry();
            frame.moveCenter(screen->availableGeometry().center());
            chatWindow_->move(frame.topLeft());
        }
    }
    chatWindow_->setWindowTitle(qt(store_.persona().name));
    // A key added or removed elsewhere shows in the banner once the cache has read again.
    keys_.refresh();
    chatWindow_->show();
    chatWindow_->raise();
    chatWindow_->activateWindow();
}

void AppDelegate::toggleChat() {
    if (chatWindow_ && chatWindow_->isVisible()) {
        chatWindow_->hide();
    } else {
        openChat();
    }
}

void AppDelegate::openSettings() {
    if (!settingsNote_) {
        settingsNote_ = std::make_unique<QMessageBox>(QMessageBox::Information, "Lumenary Settings",
                                                      "Settings are not in this build yet.",
                                                      QMessageBox::Close);
        settingsNote_->setWindowModality(Qt::NonModal);
    }
    settingsNote_->show();
    settingsNote_->raise();
    settingsNote_->activateWindow();
}

void AppDelegate::menuTalk() {
    openChat();
}

void AppDelegate::menuClearChat() {
    if (store_.transcript().empty())
        return;
    const bool confirmed = options_.confirmClear ? options_.confirmClear() : askToClear();
    if (confirmed)
        conversation().clear();
}

bool AppDelegate::askToClear() {
    return confirm(nullptr, Confirmations::clearConversation);
}

void AppDelegate::menuHide() {
    companion_.hideForAnHour();
}

void AppDelegate::menuShow() {
    companion_.show();
}

void AppDelegate::menuToggleLogin() {
    const bool enabled = LoginItem::status() == LoginItem::Status::enabled;
    if (const auto error = LoginItem::set(!enabled)) {
        warn(enabled ? "Could not remove Lumenary from your login items."
                     : "Could not add Lumenary to your login items.",
             *error + kLoginItemsHint);
    }
    action(StatusMenu::Action::toggleLogin)
        ->setChecked(LoginItem::status() == LoginItem::Status::enabled);
}

void AppDelegate::warn(const std::string& message, const std::string& detail) {
    if (options_.warn) {
        options_.warn(message, detail);
        return;
    }
    QMessageBox alert(QMessageBox::Warning, "Lumenary", qt(message), QMessageBox::Ok);
    alert.setInformativeText(qt(detail));
    alert.exec();
}

void AppDelegate::menuSettings() {
    openSettings();
}

void AppDelegate::menuQuit() {
    store_.save();
    QCoreApplication::quit();
}

bool AppDelegate::hasKey() const {
    if (options_.services.key)
        return firstConfigured(options_.services.key).has_value();
    return keys_.hasAny();
}

}  // namespace lumenary
