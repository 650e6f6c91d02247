#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"
#include "conversation/Greeting.h"

namespace lumenary {
namespace {

using testing::TemporaryFolder;

// A moment on the test machine's clock (TZ=Asia/Kolkata).
Timestamp at(int hour, int minute, int day = 23) {
    return *LocalTime::fromCivil(CivilTime{2026, 11, day, hour, minute, 0});
}

ChatMessage message(const std::string& sender, const std::string& text, Timestamp date) {
    return ChatMessage{testing::labelledId(sender + text), sender, text, date};
}

std::vector<std::string> texts(const std::vector<const ChatMessage*>& found) {
    std::vector<std::string> out;
    for (const ChatMessage* m : found)
        out.push_back(m->text);
    return out;
}

TEST(Greeting, OnlyHerMessagesFromAroundThisHourWithoutWrappingPastMidnight) {
    const std::vector<ChatMessage> messages = {
        message("Amma", "late night thoughts", at(23, 50, 22)),  // 23 hours from 0
        message("Amma", "up early kanna", at(1, 10)),
        message("Amma", "just after midnight", at(0, 5)),
        message("Amma", "two hours later", at(2, 0)),
        message("Ravi", "his words, not hers", at(0, 40)),
    };
    EXPECT_EQ(texts(Greeting::candidates(messages, "Amma", 0)),
              (std::vector<std::string>{"up early kanna", "just after midnight"}));
    // At 23 the late-night message qualifies and the one after midnight does not.
    EXPECT_EQ(texts(Greeting::candidates(messages, "Amma", 23)),
              (std::vector<std::string>{"late night thoughts"}));
}

TEST(Greeting, LengthCountsCharactersNotBytes) {
    const Timestamp noon = at(12, 0);
    const std::string fiftyNine(59, 'a');
    // 50 letters and 9 emoji: 59 characters but 86 bytes.
    const std::string fiftyNineWide = std::string(50, 'b') + "😊😊😊😊😊😊😊😊😊";
    // Six characters in 24 bytes, and seven in 28.
    const std::string sixWide = "🙏🙏🙏🙏🙏🙏";
    const std::string sevenWide = "🙏🙏🙏🙏🙏🙏🙏";
    // A flag is one character of two code points.
    const std::string sixWithFlags = "🇮🇳🇮🇳🇮🇳ok!";
    const std::vector<ChatMessage> messages = {
        message("Amma", "six ch", noon),      message("Amma", "seven c", noon),
        message("Amma", fiftyNine, noon),     message("Amma", std::string(60, 'c'), noon),
        message("Amma", fiftyNineWide, noon), message("Amma", sixWide, noon),
        message("Amma", sevenWide, noon),     message("Amma", sixWithFlags, noon),
    };
    EXPECT_EQ(texts(Greeting::candidates(messages, "Amma", 12)),
              (std::vector<std::string>{"seven c", fiftyNine, fiftyNineWide, sevenWide}));
}

TEST(Greeting, ChoosesAmongTheCandidatesOnlyWhenTheStoreHasAnIndex) {
    TemporaryFolder folder;
    Store store(folder.path(), Store::Options{[](const std::string&) {}, {}});
    EXPECT_EQ(Greeting::choose(store, at(9, 30), [](std::size_t) { return 0; }), std::nullopt);

    store.adopt({message("Ravi", "good morning amma", at(9, 0)),
                 message("Amma", "good morning kanna", at(9, 5)),
                 message("Amma", "did you eat breakfast", at(10, 20)),
                 message("Amma", "sleep early ra", at(22, 0))},
                "Amma");
    ASSERT_NE(store.index(), nullptr);

    std::size_t offered = 0;
    const auto last = [&offered](std::size_t count) {
        offered = count;
        return count - 1;
    };
    EXPECT_EQ(Greeting::choose(store, at(9, 30), last),
              std::optional<std::string>("did you eat breakfast"));
    EXPECT_EQ(offered, 2u);
    // A picker that overshoots still lands on a candidate.
    EXPECT_EQ(Greeting::choose(store, at(9, 30), [](std::size_t) { return 99; }),
              std::optional<std::string>("did you eat breakfast"));
    EXPECT_EQ(Greeting::choose(store, at(15, 0), last), std::nullopt);
}

}  // namespace
}  // namespace lumenary
