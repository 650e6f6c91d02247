#include <gtest/gtest.h>

#include <QMenu>
#include <chrono>
#include <fstream>
#include <thread>

#include "AppDelegate.h"
#include "DesktopTesting.h"
#include "LoginItem.h"
#include "chat/ChatWindow.h"
#include "panel/CompanionPanel.h"

namespace lumenary {
namespace {

using testing::PrivateHome;
using testing::runEventsUntil;
using testing::TemporaryFolder;
using Action = StatusMenu::Action;

// A data folder holding an onboarded persona whose archive has one greeting for this hour.
void seed(const std::filesystem::path& folder) {
    Store store(folder, Store::Options{[](const std::string&) {}, {}});
    Persona persona = store.persona();
    persona.onboarded = true;
    store.setPersona(persona);
    const Timestamp justNow = now() - 60;
    store.adopt({ChatMessage{testing::labelledId("r"), "Ravi", "are you there amma", justNow - 30},
                 ChatMessage{testing::labelledId("a"), "Amma", "good morning kanna", justNow}},
                "Amma");
}

struct Fixture {
    PrivateHome home;
    TemporaryFolder data;
    int asked = 0;
    bool answer = true;
    std::vector<std::pair<std::string, std::string>> warnings;

    // The chat window closes and opens again; that must not end anything.
    Fixture() { QApplication::setQuitOnLastWindowClosed(false); }

    AppDelegate::Options options() {
        AppDelegate::Options options;
        options.folder = data.path();
        options.services.key = [](Provider) { return std::optional<std::string>(); };
        options.readKey = [](Provider) { return std::optional<std::string>(); };
        options.confirmClear = [this] {
            ++asked;
            return answer;
        };
        options.warn = [this](const std::string& message, const std::string& detail) {
            warnings.emplace_back(message, detail);
        };
        options.trayIcon = false;
        options.animateBubble = false;
        options.translucentPanel = true;
        return options;
    }
};

std::vector<std::string> titles(const QMenu& menu) {
    std::vector<std::string> out;
    for (const QAction* action : menu.actions())
        out.push_back(action->isSeparator() ? "—" : action->text().toStdString());
    return out;
}

TEST(AppDelegate, StartsWithHerOnScreenGreetingAndTheMenuInOrder) {
    Fixture f;
    seed(f.data.path());
    AppDelegate delegate(f.options());
    delegate.start();

    ASSERT_NE(delegate.panel(), nullptr);
    EXPECT_TRUE(delegate.panel()->isVisible());
    EXPECT_TRUE(delegate.animator().isRunning());
    EXPECT_EQ(delegate.companion().bubble(), std::optional<std::string>("good morning kanna"));

    EXPECT_EQ(titles(*delegate.menu()),
              (std::vector<std::string>{"Talk to Amma", "—", "Clear conversation", "—",
                                        "Hide her for an hour", "Show her", "—", "Open at login",
                                        "—", "Settings…", "Quit Lumenary"}));
    EXPECT_TRUE(delegate.action(Action::toggleLogin)->isCheckable());
    EXPECT_EQ(delegate.action(Action::settings)->shortcut(), QKeySequence("Ctrl+,"));
    EXPECT_EQ(delegate.action(Action::quit)->shortcut(), QKeySequence("Ctrl+Q"));

    // The title follows a new name the next time the menu opens.
    Persona persona = delegate.store().persona();
    persona.name = "Lakshmi";
    delegate.store().setPersona(persona);
    delegate.menu()->popup(QPoint(0, 0));
    delegate.menu()->hide();
    EXPECT_EQ(delegate.action(Action::talk)->text().toStdString(), "Talk to Lakshmi");
}

TEST(AppDelegate, BeforeHerChatsAreBroughtAcrossThereIsNoPanelAndNoGreeting) {
    Fixture f;
    AppDelegate delegate(f.options());
    delegate.start();
    EXPECT_EQ(delegate.panel(), nullptr);
    EXPECT_EQ(delegate.companion().bubble(), std::nullopt);
    ASSERT_NE(delegate.onboardingNote(), nullptr);
    EXPECT_TRUE(delegate.onboardingNote()->isVisible());
}

TEST(AppDelegate, HideAndShowTakeHerOffTheScreenAndBringHerBack) {
    Fixture f;
    seed(f.data.path());
    AppDelegate delegate(f.options());
    delegate.start();

    delegate.action(Action::hide)->trigger();
    EXPECT_FALSE(delegate.panel()->isVisible());
    EXPECT_FALSE(delegate.animator().isRunning());
    delegate.action(Action::show)->trigger();
    EXPECT_TRUE(delegate.panel()->isVisible());
    EXPECT_TRUE(delegate.animator().isRunning());
}

TEST(AppDelegate, ATapOnHerOpensAndHidesTheOneChatWindow) {
    Fixture f;
    seed(f.data.path());
    AppDelegate delegate(f.options());
    delegate.start();
    ASSERT_TRUE(delegate.companion().bubble().has_value());

    delegate.panel()->onTap();
    ChatWindow* chat = delegate.chatWindow();
    ASSERT_NE(chat, nullptr);
    EXPECT_TRUE(chat->isVisible());
    EXPECT_EQ(chat->windowTitle(), "Amma");
    EXPECT_EQ(delegate.companion().bubble(), std::nullopt);
    // Its shortcuts are the application's.
    EXPECT_TRUE(chat->actions().contains(delegate.action(Action::quit)));

    delegate.panel()->onTap();
    EXPECT_FALSE(chat->isVisible());
    delegate.action(Action::talk)->trigger();
    EXPECT_EQ(delegate.chatWindow(), chat);
    EXPECT_TRUE(chat->isVisible());
}

TEST(AppDelegate, OpenAtLoginWritesAndRemovesTheAutostartEntry) {
    Fixture f;
    seed(f.data.path());
    AppDelegate delegate(f.options());
    delegate.start();
    QAction* login = delegate.action(Action::toggleLogin);
    EXPECT_FALSE(login->isChecked());

    login->trigger();
    EXPECT_TRUE(std::filesystem::exists(LoginItem::entryPath()));
    EXPECT_TRUE(login->isChecked());
    login->trigger();
    EXPECT_FALSE(std::filesystem::exists(LoginItem::entryPath()));
    EXPECT_FALSE(login->isChecked());
    EXPECT_TRUE(f.warnings.empty());

    // A file where the autostart folder belongs: the entry cannot be written, and the user is
    // told so.
    std::filesystem::remove_all(LoginItem::entryPath().parent_path());
    std::ofstream(LoginItem::entryPath().parent_path()) << "in the way";
    login->trigger();
    EXPECT_FALSE(login->isChecked());
    ASSERT_EQ(f.warnings.size(), 1u);
    EXPECT_EQ(f.warnings[0].first, "Could not add Lumenary to your login items.");
}

TEST(AppDelegate, ClearConversationAsksOnlyWhenThereIsSomethingToClear) {
    Fixture f;
    seed(f.data.path());
    AppDelegate delegate(f.options());
    delegate.start();
    QAction* clear = delegate.action(Action::clearConversation);

    clear->trigger();
    EXPECT_EQ(f.asked, 0);

    delegate.store().appendTurn(Store::Turn{Uuid::random(), Store::Turn::Speaker::me, "hi", {}});
    delegate.store().save();
    f.answer = false;
    clear->trigger();
    EXPECT_EQ(f.asked, 1);
    EXPECT_EQ(delegate.store().transcript().size(), 1u);

    f.answer = true;
    clear->trigger();
    EXPECT_TRUE(delegate.store().transcript().empty());
    EXPECT_EQ(nlohmann::json::parse(testing::readFile(f.data.path() / "chat.json")).size(), 0u);
}

TEST(AppDelegate, QuitSavesWhatChanged) {
    Fixture f;
    seed(f.data.path());
    AppDelegate delegate(f.options());
    delegate.start();
    Persona persona = delegate.store().persona();
    persona.herWordsOnly = true;
    persona.relationship = "Grandmother";
    delegate.store().setPersona(persona);  // not saved yet

    delegate.action(Action::quit)->trigger();
    const auto saved = nlohmann::json::parse(testing::readFile(f.data.path() / "persona.json"));
    EXPECT_EQ(saved["relationship"], "Grandmother");
}

TEST(AppDelegate, ASlowModelLeavesTheEventLoopRunning) {
    Fixture f;
    seed(f.data.path());
    AppDelegate::Options options = f.options();
    options.services.key = [](Provider) { return std::optional<std::string>("key"); };
    options.services.complete = [](const Conversation::Request&,
                                   const std::optional<std::string>&) {
        std::this_thread::sleep_for(std::chrono::seconds(20));
        return Expected<std::string, ModelError>(std::string("fine, and you?"));
    };
    AppDelegate delegate(options);
    delegate.start();

    int frames = 0;
    delegate.animator().observe([&frames] { ++frames; });
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
    ticker.start(10);

    delegate.conversation().send("how are you");
    EXPECT_TRUE(delegate.conversation().isThinking());
    ASSERT_TRUE(runEventsUntil([&] { return !delegate.conversation().isThinking(); }, 90000));
    EXPECT_EQ(delegate.store().transcript().back().text, "fine, and you?");
    // A provider that takes twenty seconds: at 24 frames and 100 ticks a second, a quarter of
    // what that gives is plenty of margin for a loaded machine and still impossible if the wait
    // had blocked the loop.
    EXPECT_GE(frames, 120);
    EXPECT_GE(ticks, 500);
}

}  // namespace
}  // namespace lumenary
