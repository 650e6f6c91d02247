#include "chat/ChatPreview.h"

#include <QApplication>
#include <QPixmap>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <system_error>

#include "chat/ChatWindow.h"
#include "common/Scheduler.h"
#include "conversation/Conversation.h"
#include "preview/OffscreenApplication.h"
#include "providers/ProviderError.h"

namespace lumenary::ChatPreview {
namespace {

// Holds timers and background work until the preview runs them, so the picture shows a reply
// still being written (work never run) next to one that failed (work run at once).
class HeldScheduler final : public Scheduler {
public:
    Timestamp now() const override { return lumenary::now(); }
    TimerId after(double, Task task) override {
        due_.push_back(std::move(task));
        return ++lastId_;
    }
    // The character is stepped by hand; its frame timer never needs to fire.
    TimerId every(double, Task) override { return ++lastId_; }
    void cancel(TimerId) override {}
    void background(Task work) override { work_.push_back(std::move(work)); }

    /// Runs the work waiting now and what it hands back, but nothing queued later.
    void runWaiting() {
        std::deque<Task> work;
        work.swap(work_);
        for (Task& task : work)
            task();
        while (!due_.empty()) {
            Task task = std::move(due_.front());
            due_.pop_front();
            task();
        }
    }

private:
    std::deque<Task> work_;
    std::deque<Task> due_;
    TimerId lastId_ = 0;
};

// A private folder for the made-up store, removed with everything in it.
struct ScratchFolder {
    std::filesystem::path path;
    ScratchFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "lumenary-chat-preview-XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr)
            path = pattern;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        if (!path.empty())
            std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
};

// One made-up world: a store, the character, a conversation with a key (so messages go to a
// model) whose model calls are held, and the window over them.
struct Scene {
    ScratchFolder folder;
    HeldScheduler scheduler;
    Store store;
    CharacterAnimator animator;
    Conversation conversation;
    bool showKeyBanner;
    ChatWindow window;

    explicit Scene(bool withoutKey)
        : store(folder.path / "Lumenary", Store::Options{[](const std::string&) {}, {}}),
          animator(scheduler, [] { return 5.0; }),
          conversation(store, animator, scheduler, services()),
          showKeyBanner(withoutKey),
          window(ChatWindow::Context{store, animator, conversation,
                                     [this] { return !showKeyBanner; }, [] {}}) {
        animator.step();
    }

    static Conversation::Services services() {
        Conversation::Services services;
        services.key = [](Provider) -> std::optional<std::string> { return "preview"; };
        services.complete =
            [](const Conversation::Request&,
               const std::optional<std::string>&) -> Expected<std::string, ModelError> {
            return unexpected(ModelError{
                ProviderError::http(401, R"({"error":{"message":"invalid x-api-key"}})")});
        };
        return services;
    }

    void say(Store::Turn::Speaker speaker, const std::string& text,
             std::optional<Timestamp> realDate = std::nullopt) {
        Store::Turn turn;
        turn.speaker = speaker;
        turn.text = text;
        turn.realDate = realDate;
        store.appendTurn(std::move(turn));
    }

    bool write(const std::filesystem::path& file) {
        window.show();
        for (int i = 0; i < 3; ++i)
            QApplication::processEvents();
        return window.grab().save(QString::fromStdString(file.string()), "PNG");
    }
};

std::vector<ChatMessage> sampleArchive() {
    std::vector<ChatMessage> messages;
    Timestamp date = 1'565'700'000;
    UuidGenerator ids;
    const char* lines[][2] = {
        {"Ravi", "Reached Bangalore safely"},
        {"Amma", "Good. Eat something hot before you sleep"},
        {"Ravi", "What do I put in the rasam?"},
        {"Amma", "Tamarind, tomato, a pinch of jaggery. Curry leaves at the end"},
        {"Ravi", "Miss your cooking"},
        {"Amma", "Come home for Pongal then"},
    };
    for (const auto& line : lines) {
        messages.push_back(ChatMessage{ids.next(), line[0], line[1], date});
        date += 3600;
    }
    return messages;
}

}  // namespace

bool render(const std::filesystem::path& out) {
    const OffscreenApplication application;
    std::error_code error;
    std::filesystem::create_directories(out, error);
    bool written = true;
    {
        using Speaker = Store::Turn::Speaker;
        Scene scene(/*withoutKey=*/true);
        scene.say(Speaker::me, "I made your rasam today. It didn't taste the same.");
        // 14 August 2019, in the evening in India.
        scene.say(Speaker::her,
                  "Tamarind, tomato, a pinch of jaggery. Boil it only once, and the curry leaves "
                  "go in at the end, kanna.",
                  1'565'791'920);
        scene.say(Speaker::me, "I miss you calling every evening.");
        scene.say(Speaker::her, "I know, kanna.");
        // A short real message: its bubble must still be wide enough for the whole date.
        scene.say(Speaker::her, "Did you eat?", 1'556'652'600);
        scene.say(Speaker::her,
                  "Call your sister today. She worries about you more than she says.");
        scene.say(Speaker::me, "Tell me something only you would say 🌸");
        scene.say(Speaker::notice,
                  "I never said anything quite like that. Turn off Her words only and I can "
                  "answer properly.");
        scene.conversation.send("Are you there?");
        scene.scheduler.runWaiting();  // the model call fails: the error banner
        written = scene.write(out / "chat.png") && written;

        scene.conversation.send("Tell me about the wedding");  // held: she is typing
        written = scene.write(out / "chat-typing.png") && written;
    }
    {
        Scene scene(/*withoutKey=*/false);
        scene.store.adopt(sampleArchive(), "Amma");
        written = scene.write(out / "chat-empty.png") && written;
    }
    return written;
}

}  // namespace lumenary::ChatPreview
