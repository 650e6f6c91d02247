#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTextEdit>
#include <chrono>
#include <ctime>
#include <deque>
#include <iostream>
#include <map>

#include "ConfirmationBox.h"
#include "ManualScheduler.h"
#include "OffscreenApplication.h"
#include "TestSupport.h"
#include "chat/ChatBanner.h"
#include "chat/ChatPreview.h"
#include "chat/ChatThread.h"
#include "chat/ChatWindow.h"
#include "chat/SwitchToggle.h"
#include "providers/ProviderError.h"

namespace lumenary {
namespace {

using Speaker = Store::Turn::Speaker;
using BubbleKind = ChatPresentation::BubbleKind;
using RowKind = ChatThreadModel::RowKind;
using testing::ManualScheduler;
using testing::TemporaryFolder;

// A chat window over a real store in a temporary folder and a conversation whose keys and model
// replies the test decides.
struct ChatFixture {
    TemporaryFolder folder;
    ManualScheduler scheduler;
    Store store{folder.path(), Store::Options{[](const std::string&) {}, {}}};
    CharacterAnimator animator{scheduler, [] { return 5.0; }};
    std::map<Provider, std::string> keys;
    std::deque<Expected<std::string, ModelError>> answers;  // the model's replies, in turn
    Conversation conversation{store, animator, scheduler, services()};
    bool hasKey = false;
    int settingsOpened = 0;
    ChatWindow window{ChatWindow::Context{store, animator, conversation, [this] { return hasKey; },
                                          [this] { ++settingsOpened; }}};

    Conversation::Services services() {
        Conversation::Services services;
        services.key = [this](Provider provider) -> std::optional<std::string> {
            const auto found = keys.find(provider);
            return found == keys.end() ? std::nullopt : std::optional(found->second);
        };
        services.complete = [this](const Conversation::Request&,
                                   const std::optional<std::string>&) {
            auto answer = std::move(answers.front());
            answers.pop_front();
            return answer;
        };
        return services;
    }

    QTextEdit& composer() { return *window.findChild<QTextEdit*>("composer"); }
    QAbstractButton& sendButton() { return *window.findChild<QAbstractButton*>("sendButton"); }
    QAbstractButton& clearButton() { return *window.findChild<QAbstractButton*>("clearButton"); }
    SwitchToggle& herWordsOnly() { return *window.findChild<SwitchToggle*>("herWordsOnly"); }
    ChatBanner& keyBanner() { return *window.findChild<ChatBanner*>("keyBanner"); }
    ChatBanner& errorBanner() { return *window.findChild<ChatBanner*>("errorBanner"); }
    ChatThread& thread() { return *window.findChild<ChatThread*>("thread"); }
    ChatThreadModel& rows() { return thread().rows(); }

    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent down(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(&composer(), &down);
        QKeyEvent up(QEvent::KeyRelease, key, modifiers);
        QApplication::sendEvent(&composer(), &up);
    }
    void type(const QString& text) { composer().insertPlainText(text); }

    bool shown(QWidget& widget) { return widget.isVisibleTo(&window); }

    // What the thread shows, row by row: the kind and, for turns, the text.
    std::vector<std::pair<RowKind, QString>> shownRows() {
        std::vector<std::pair<RowKind, QString>> out;
        for (int row = 0; row < rows().rowCount(); ++row) {
            const QModelIndex index = rows().index(row);
            const auto kind =
                static_cast<RowKind>(index.data(ChatThreadModel::RowKindRole).toInt());
            if (kind != RowKind::margin)
                out.emplace_back(kind, index.data().toString());
        }
        return out;
    }

    std::vector<std::pair<Speaker, std::string>> transcript() const {
        std::vector<std::pair<Speaker, std::string>> out;
        for (const auto& turn : store.transcript())
            out.emplace_back(turn.speaker, turn.text);
        return out;
    }

    void appendTurn(Speaker speaker, std::string text,
                    std::optional<Timestamp> realDate = std::nullopt) {
        Store::Turn turn;
        turn.speaker = speaker;
        turn.text = std::move(text);
        turn.realDate = realDate;
        store.appendTurn(std::move(turn));
    }
};

using Lines = std::vector<std::pair<Speaker, std::string>>;

TEST(ChatWindow, ReturnSendsTheDraftShiftReturnStartsALineAndBlankDraftsSendNothing) {
    ChatFixture f;  // no key and no archive: a message gets no answer at all
    f.window.show();
    EXPECT_FALSE(f.sendButton().isEnabled());

    f.type("hello");
    EXPECT_TRUE(f.sendButton().isEnabled());
    f.press(Qt::Key_Return, Qt::ShiftModifier);
    f.type("again");
    EXPECT_EQ(f.composer().toPlainText(), "hello\nagain");
    EXPECT_TRUE(f.store.transcript().empty());

    f.press(Qt::Key_Return);
    EXPECT_EQ(f.transcript(), (Lines{{Speaker::me, "hello\nagain"}}));
    EXPECT_EQ(f.composer().toPlainText(), "");
    EXPECT_FALSE(f.sendButton().isEnabled());
    EXPECT_EQ(f.rows().turnCount(), 1u);

    f.type("  \t ");
    EXPECT_FALSE(f.sendButton().isEnabled());
    f.press(Qt::Key_Enter);  // the keypad's Enter submits too; a blank draft adds nothing
    EXPECT_EQ(f.store.transcript().size(), 1u);

    f.press(Qt::Key_Return, Qt::ShiftModifier);
    f.press(Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_TRUE(f.sendButton().isEnabled());  // only newlines: offered, and ignored when sent
    f.sendButton().click();
    EXPECT_EQ(f.store.transcript().size(), 1u);
    EXPECT_EQ(f.composer().toPlainText(), "");

    f.type("the button sends too");
    f.sendButton().click();
    EXPECT_EQ(f.transcript().back(),
              (std::pair<Speaker, std::string>{Speaker::me, "the button sends too"}));
}

TEST(ChatWindow, BannersComeAndGoWithTheKeyAndTheLastError) {
    ChatFixture f;
    f.window.show();
    EXPECT_TRUE(f.shown(f.keyBanner()));
    EXPECT_EQ(f.keyBanner().title(), "Amma can only repeat old messages right now.");
    EXPECT_FALSE(f.shown(f.errorBanner()));
    f.keyBanner().findChild<QAbstractButton*>("bannerButton")->click();
    EXPECT_EQ(f.settingsOpened, 1);

    // A key was stored in Settings; the owner tells the window.
    f.keys[Provider::claude] = "sk-test";
    f.hasKey = true;
    f.window.refreshKeyState();
    EXPECT_FALSE(f.shown(f.keyBanner()));

    f.answers.push_back(unexpected(ModelError{ProviderError::http(401, "")}));
    f.type("are you there?");
    f.press(Qt::Key_Return);
    // While the model is asked, she is typing.
    EXPECT_EQ(f.shownRows().back().first, RowKind::typing);
    f.scheduler.runBackground();
    f.scheduler.runDue();
    EXPECT_NE(f.shownRows().back().first, RowKind::typing);
    ASSERT_TRUE(f.conversation.lastError());
    EXPECT_TRUE(f.shown(f.errorBanner()));
    EXPECT_EQ(f.errorBanner().title(), "Amma couldn't answer.");
    EXPECT_EQ(f.errorBanner().detail().toStdString(), *f.conversation.lastError());
    EXPECT_EQ(f.transcript(), (Lines{{Speaker::me, "are you there?"}}));  // no error line

    // The next message clears it.
    f.answers.push_back(std::string("here"));
    f.type("hello?");
    f.press(Qt::Key_Return);
    EXPECT_FALSE(f.shown(f.errorBanner()));
    f.scheduler.runBackground();
    f.scheduler.runDue();
    EXPECT_EQ(f.transcript().back(), (std::pair<Speaker, std::string>{Speaker::her, "here"}));

    // So does clearing the conversation.
    f.answers.push_back(unexpected(ModelError{ProviderError::http(500, "")}));
    f.type("and now?");
    f.press(Qt::Key_Return);
    f.scheduler.runBackground();
    f.scheduler.runDue();
    EXPECT_TRUE(f.shown(f.errorBanner()));
    f.window.setClearConfirmation([](QWidget*) { return true; });
    f.clearButton().click();
    EXPECT_FALSE(f.shown(f.errorBanner()));
}

TEST(ChatWindow, BubblesFollowTheTranscriptAndClearingAsksFirst) {
    ChatFixture f;
    f.window.show();
    using Row = std::pair<RowKind, QString>;
    EXPECT_EQ(f.shownRows(), (std::vector<Row>{{RowKind::empty, "Say something to her."}}));
    EXPECT_FALSE(f.clearButton().isEnabled());

    f.appendTurn(Speaker::me, "I miss you");
    f.appendTurn(Speaker::her, "I know kanna", 1'600'000'000);
    f.appendTurn(Speaker::notice, "Bring our chats across and I'll sound more like myself.");
    f.store.save();
    EXPECT_EQ(f.shownRows(),
              (std::vector<Row>{
                  {RowKind::turn, "I miss you"},
                  {RowKind::turn, "I know kanna"},
                  {RowKind::turn, "Bring our chats across and I'll sound more like myself."},
              }));
    auto kindOf = [&](std::size_t turn) {
        return static_cast<BubbleKind>(
            f.rows().index(f.rows().rowOfTurn(turn)).data(ChatThreadModel::BubbleKindRole).toInt());
    };
    EXPECT_EQ(kindOf(0), BubbleKind::mine);
    EXPECT_EQ(kindOf(1), BubbleKind::herReal);
    EXPECT_EQ(kindOf(2), BubbleKind::notice);
    EXPECT_TRUE(f.clearButton().isEnabled());

    // A transcript replaced from elsewhere (a load) is shown as it now is.
    auto turns = f.store.transcript();
    turns.erase(turns.begin());
    f.store.setTranscript(turns);
    EXPECT_EQ(f.shownRows().front(), (Row{RowKind::turn, "I know kanna"}));
    EXPECT_EQ(f.shownRows().size(), 2u);

    int asked = 0;
    bool answer = false;
    f.window.setClearConfirmation([&](QWidget* window) {
        EXPECT_EQ(window, &f.window);
        ++asked;
        return answer;
    });
    f.clearButton().click();  // "Cancel"
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(f.store.transcript().size(), 2u);

    answer = true;  // "Clear"
    f.clearButton().click();
    EXPECT_TRUE(f.store.transcript().empty());
    EXPECT_TRUE(Store(f.folder.path()).transcript().empty());  // and saved so
    EXPECT_EQ(f.shownRows(), (std::vector<Row>{{RowKind::empty, "Say something to her."}}));
    EXPECT_FALSE(f.clearButton().isEnabled());
}

TEST(ChatWindow, TheTypingIndicatorStaysBelowTurnsThatArriveWhileSheIsTyping) {
    ChatFixture f;
    f.keys[Provider::claude] = "sk-test";
    f.hasKey = true;
    f.window.show();
    f.answers.push_back(std::string("first\nsecond"));
    f.type("tell me");
    f.press(Qt::Key_Return);
    // A reply to an earlier message lands while this one is still being answered.
    f.appendTurn(Speaker::her, "an earlier reply");
    using Row = std::pair<RowKind, QString>;
    EXPECT_EQ(f.shownRows(), (std::vector<Row>{{RowKind::turn, "tell me"},
                                               {RowKind::turn, "an earlier reply"},
                                               {RowKind::typing, QString::fromUtf8("…")}}));
    EXPECT_TRUE(f.thread().showsNewest());

    f.scheduler.runBackground();
    f.scheduler.advance(5);  // the whole burst
    EXPECT_EQ(f.shownRows().back(), (Row{RowKind::turn, "second"}));
    EXPECT_EQ(f.shownRows().size(), 4u);
}

TEST(ChatWindow, HerRealMessagesCarryTheDateSheWroteThemInTheLocalZone) {
    ChatFixture f;
    // The tests run in Asia/Kolkata (UTC+5:30). Written at 00:10 on 1 March 2020 there, which is
    // still 29 February in UTC.
    f.appendTurn(Speaker::her, "are you awake?", 1'583'001'600);  // 2020-02-29T18:40:00Z
    f.appendTurn(Speaker::her, "a reply the model wrote");
    const QModelIndex real = f.rows().index(f.rows().rowOfTurn(0));
    EXPECT_EQ(real.data(ChatThreadModel::CaptionRole).toString(),
              QString::fromUtf8("Real message · Mar 1, 2020 at 12:10\u202fAM"));
    const QModelIndex generated = f.rows().index(f.rows().rowOfTurn(1));
    EXPECT_FALSE(generated.data(ChatThreadModel::CaptionRole).isValid());
}

TEST(ChatWindow, TheDraftSurvivesClosingAndReopening) {
    ChatFixture f;
    f.window.show();
    f.type("half a thought");
    f.window.close();
    EXPECT_FALSE(f.window.isVisible());
    f.window.show();
    QApplication::processEvents();
    EXPECT_EQ(f.composer().toPlainText(), "half a thought");
    EXPECT_TRUE(f.composer().hasFocus());
    EXPECT_TRUE(f.sendButton().isEnabled());
}

TEST(ChatWindow, HerWordsOnlySwitchIsStoredAndSaved) {
    ChatFixture f;
    f.window.show();
    EXPECT_FALSE(f.herWordsOnly().isChecked());
    f.herWordsOnly().click();
    EXPECT_TRUE(f.store.persona().herWordsOnly);
    EXPECT_TRUE(Store(f.folder.path()).persona().herWordsOnly);

    // Settings turned it off: the switch follows without writing anything itself.
    Persona persona = f.store.persona();
    persona.herWordsOnly = false;
    persona.name = "Paati";
    f.store.setPersona(persona);
    EXPECT_FALSE(f.herWordsOnly().isChecked());
    EXPECT_EQ(f.window.windowTitle(), "Paati");
    EXPECT_EQ(f.composer().placeholderText(), QString::fromUtf8("Message Paati…"));
    EXPECT_TRUE(Store(f.folder.path()).persona().herWordsOnly);
}

TEST(ChatWindow, ThePreviewDrawsTheChatWithoutADisplay) {
    TemporaryFolder folder;
    const auto out = folder.path() / "screens";
    ASSERT_TRUE(ChatPreview::render(out));
    for (const char* name : {"chat.png", "chat-typing.png", "chat-empty.png"}) {
        const QImage picture(QString::fromStdString((out / name).string()));
        EXPECT_GE(picture.width(), 380) << name;
        EXPECT_GE(picture.height(), 480) << name;
    }
}

// Not a timing assertion: prints how long ten thousand turns take to show and scroll through, and
// checks that the window got there with every row and the newest one in view.
TEST(ChatWindow, TenThousandTurnsOfEveryShapeShowAndScroll) {
    using Clock = std::chrono::steady_clock;
    auto ms = [](Clock::duration d) {
        return std::chrono::duration_cast<std::chrono::milliseconds>(d).count();
    };
    TemporaryFolder folder;
    ManualScheduler scheduler;
    Store store{folder.path(), Store::Options{[](const std::string&) {}, {}}};
    std::vector<Store::Turn> turns;
    const char* const shapes[] = {
        "did you eat?",
        "🌸🌸🌸🙏",
        "مرحبا يا أمي، اشتقت إليك كثيرا",
        "I went to the temple today and the priest asked about you. He remembered the way you "
        "used to bring jasmine every Friday, and he gave me some prasadam to bring home.",
        "line one\nline two\nline three",
    };
    for (int i = 0; i < 10'000; ++i) {
        Store::Turn turn;
        turn.speaker = i % 3 == 0 ? Speaker::me : (i % 7 == 0 ? Speaker::notice : Speaker::her);
        // Every text differs, so no measurement is reused across turns.
        turn.text = shapes[i % 5] + std::string(" ") + std::to_string(i);
        if (turn.speaker == Speaker::her && i % 2 == 0)
            turn.realDate = 1'500'000'000 + i * 3600.0;
        turns.push_back(std::move(turn));
    }
    turns[5000].text = std::string(100'000, 'a');  // one enormous unbroken message
    store.setTranscript(turns);
    CharacterAnimator animator{scheduler, [] { return 5.0; }};
    Conversation conversation{store, animator, scheduler, {}};

    // Processor time too: on a busy machine the wall clock says more about the neighbours.
    const std::clock_t startCpu = std::clock();
    const auto start = Clock::now();
    ChatWindow window{
        ChatWindow::Context{store, animator, conversation, [] { return true; }, [] {}}};
    window.show();
    QApplication::processEvents();
    const QImage first = window.grab().toImage();
    const auto shown = Clock::now();
    const std::clock_t shownCpu = std::clock();

    auto* thread = window.findChild<ChatThread*>("thread");
    QScrollBar* bar = thread->verticalScrollBar();
    const int steps = 200;
    for (int i = 0; i <= steps; ++i) {
        bar->setValue(bar->maximum() / steps * (steps - i));
        thread->viewport()->repaint();
    }
    const auto scrolled = Clock::now();
    const std::clock_t scrolledCpu = std::clock();

    Store::Turn more;
    more.text = "one more";
    store.appendTurn(more);
    QApplication::processEvents();
    const auto appended = Clock::now();

    auto cpuMs = [](std::clock_t from, std::clock_t to) {
        return static_cast<long long>(1000.0 * static_cast<double>(to - from) / CLOCKS_PER_SEC);
    };
    std::cout << "[ measure  ] 10 000 turns: first frame " << ms(shown - start) << " ms ("
              << cpuMs(startCpu, shownCpu)
              << " ms processor); 201 repaints scrolling bottom to top " << ms(scrolled - shown)
              << " ms (" << cpuMs(shownCpu, scrolledCpu) << " ms processor); one more turn "
              << ms(appended - scrolled) << " ms\n";
    EXPECT_FALSE(first.isNull());
    EXPECT_EQ(thread->rows().turnCount(), 10'001u);
    EXPECT_TRUE(thread->showsNewest());
    const QRect newest = thread->visualRect(thread->rows().index(thread->rows().rowOfTurn(10'000)));
    EXPECT_TRUE(thread->viewport()->rect().intersects(newest));
}

TEST(ChatWindow, ClearingAsksOneQuestionWhoseReturnAndEscapeKeepTheConversation) {
    // The chat window and the companion's menu both ask through this box.
    const auto box = confirmationBox(nullptr, Confirmations::clearConversation);
    ASSERT_NE(box->defaultButton(), nullptr);
    EXPECT_EQ(box->defaultButton()->text(), "Cancel");
    EXPECT_EQ(box->escapeButton(), static_cast<QAbstractButton*>(box->defaultButton()));
    EXPECT_EQ(box->text(), "Clear this conversation?");
}

}  // namespace
}  // namespace lumenary
