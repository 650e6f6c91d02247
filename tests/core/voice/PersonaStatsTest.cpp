#include <gtest/gtest.h>

#include "TestSupport.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "common/LocalTime.h"
#include "voice/PersonaBuilder.h"
#include "voice/PersonaStats.h"

namespace lumenary {
namespace {

// Hours and years are read in the machine's zone: pin it before anything reads it.
const bool kZonePinned = [] { return setenv("TZ", "Asia/Kolkata", 1) == 0; }();

Timestamp at(int year, int month, int day, int hour, int minute = 0, int second = 0) {
    return LocalTime::fromCivil({year, month, day, hour, minute, second}).value();
}

// An archive written one message at a time; each message gets its own id and, unless told, a
// date one minute after the previous one.
struct Archive {
    std::vector<ChatMessage> messages;
    Timestamp clock = at(2021, 3, 12, 10);

    Archive& say(const std::string& sender, const std::string& text) {
        return sayAt(sender, text, clock + 60);
    }
    Archive& sayAt(const std::string& sender, const std::string& text, Timestamp date) {
        clock = date;
        messages.push_back({testing::labelledId(std::to_string(messages.size() + 1)), sender, text, date});
        return *this;
    }
};

TEST(PersonaStats, SomeoneWhoNeverWroteGetsTheDefaultRecord) {
    ASSERT_TRUE(kZonePinned);
    Archive archive;
    for (int i = 0; i < 1000; ++i)
        archive.say("Ravi", "Did you eat? I am going to the office");
    EXPECT_EQ(PersonaBuilder::stats("Amma", archive.messages), PersonaStats{});
    EXPECT_EQ(PersonaBuilder::stats("Amma", {}), PersonaStats{});
    // The name must match exactly: a sender with a trailing space or other case is someone else.
    EXPECT_EQ(PersonaBuilder::stats("ravi", archive.messages).messageCount, 0);

    const PersonaStats none;
    EXPECT_EQ(none.hourHistogram, std::vector<long long>(24, 0));
    EXPECT_EQ(none.averageBurst, 1.0);
    EXPECT_FALSE(none.firstDate.has_value());
}

TEST(PersonaStats, CountsWordsEmojiQuestionsAndPunctuationPerMessage) {
    Archive archive;
    archive.say("Ravi", "Good morning")
        .say("Amma", "Good morning amma \U0001F64F\U0001F64F")  // 4 words, 🙏 twice
        .say("Amma", "ok?")                                     // a question, so punctuated
        .say("Amma", "home \U0001F1EE\U0001F1F3")               // a flag is two code points
        .say("Amma", "\u00A9 1\uFE0F\u20E3 #  done")            // ©, keycap 1 and # are not emoji
        .say("Amma", "see you ok.")
        .say("Ravi", "bye");
    const PersonaStats stats = PersonaBuilder::stats("Amma", archive.messages);

    EXPECT_EQ(stats.messageCount, 5);
    EXPECT_DOUBLE_EQ(stats.averageWords, (4 + 1 + 2 + 4 + 3) / 5.0);
    EXPECT_EQ(stats.longestWords, 4);
    ASSERT_EQ(stats.topEmoji.size(), 3u);
    EXPECT_EQ(stats.topEmoji[0], "\U0001F64F");
    EXPECT_EQ((std::vector<std::string>{stats.topEmoji[1], stats.topEmoji[2]}),
              (std::vector<std::string>{"\U0001F1EE", "\U0001F1F3"}));
    EXPECT_DOUBLE_EQ(stats.emojiRate, 2 / 5.0);
    EXPECT_DOUBLE_EQ(stats.questionRatio, 1 / 5.0);
    EXPECT_DOUBLE_EQ(stats.noPunctuationRatio, 3 / 5.0);
    // The whole archive's span, even though its first and last messages are not hers.
    EXPECT_EQ(stats.firstDate, archive.messages.front().date);
    EXPECT_EQ(stats.lastDate, archive.messages.back().date);
}

TEST(PersonaStats, PunctuationIsJudgedByWholeCharacters) {
    Archive archive;
    // "." carrying a combining accent is a different character, and so is "!" after a prepended
    // Arabic number sign: neither message has sentence punctuation.
    archive.say("Amma", "cafe\u0301 .\u0301")
        .say("Amma", "\u0600! \u0C2D\u0C4B")
        .say("Amma", "caf\u00E9, ok")
        .say("Amma", "\u0C2D\u0C4B.\u0301 ok?");
    const PersonaStats stats = PersonaBuilder::stats("Amma", archive.messages);
    EXPECT_DOUBLE_EQ(stats.noPunctuationRatio, 0.5);
}

TEST(PersonaStats, OpeningsAndClosingsNeedTwoCharactersAndTwoUses) {
    Archive archive;
    archive.say("Amma", "Hello, kanna")
        .say("Amma", "hello")  // one word: an opening, never a closing
        .say("Amma", "Hi")     // opening used once: not listed
        .say("Amma", "a b")    // one-character words open and close nothing
        .say("Amma", "!! see you ok.")
        .say("Amma", "!! fine ok")
        .say("Amma", "\u00C9COUTE moi");
    const PersonaStats stats = PersonaBuilder::stats("Amma", archive.messages);
    // "!!" has two characters, so it is counted, under the empty text once trimmed.
    EXPECT_EQ(stats.commonOpenings, (std::vector<std::string>{"hello", ""}));
    EXPECT_EQ(stats.commonClosings, (std::vector<std::string>{"ok"}));
}

TEST(PersonaStats, ScriptsAreNamedOnceAndSorted) {
    Archive archive;
    archive.say("Amma", "\u0C2D\u0C4B\u0C1C\u0C28\u0C02 \u0C1A\u0C47\u0C36\u0C3E\u0C35\u0C3E")
        .say("Amma", "Did you eat")
        .say("Amma", "\U0001F64F 123 !")
        .say("Ravi", "\u0928\u092E\u0938\u094D\u0924\u0947");  // not hers
    EXPECT_EQ(PersonaBuilder::stats("Amma", archive.messages).scripts,
              (std::vector<std::string>{"Latin", "Telugu"}));

    Archive symbols;
    symbols.say("Amma", "[_]").say("Amma", "\U0001F64F 42");
    // The signs between "Z" and "a" fall in the Latin range; digits and emoji are unnamed.
    EXPECT_EQ(PersonaBuilder::stats("Amma", symbols.messages).scripts,
              (std::vector<std::string>{"Latin"}));

    Archive onlyEmoji;
    onlyEmoji.say("Amma", "\U0001F64F\U0001F64F");
    EXPECT_TRUE(PersonaBuilder::stats("Amma", onlyEmoji.messages).scripts.empty());
}

TEST(PersonaStats, HistogramUsesLocalHoursAndPeakHourPrefersTheEarliest) {
    Archive archive;
    // 03:45 UTC is 09:15 in Kolkata.
    archive.sayAt("Amma", "one", at(2021, 3, 12, 9, 15))
        .sayAt("Amma", "two", at(2021, 3, 12, 21, 5))
        .sayAt("Amma", "three", at(2021, 3, 13, 21, 50))
        .sayAt("Amma", "four", at(2021, 3, 14, 9, 59))
        .sayAt("Ravi", "five", at(2021, 3, 14, 23, 0));
    const PersonaStats stats = PersonaBuilder::stats("Amma", archive.messages);
    std::vector<long long> expected(24, 0);
    expected[9] = 2;
    expected[21] = 2;
    EXPECT_EQ(stats.hourHistogram, expected);
    EXPECT_EQ(stats.peakHour(), 9);

    PersonaStats custom;
    EXPECT_EQ(custom.peakHour(), 0);  // all zeros
    custom.hourHistogram.clear();
    EXPECT_EQ(custom.peakHour(), 12);
    custom.hourHistogram = {0, 1, 5, 2, 5};
    EXPECT_EQ(custom.peakHour(), 2);
}

TEST(PersonaStats, BurstsAreCountedWhenHerNextReplyStarts) {
    Archive archive;
    archive.say("Ravi", "hi").say("Amma", "a").say("Amma", "b").say("Ravi", "c").say("Amma", "d");
    // One finished burst of 2; the burst of 1 still open at the end is never recorded.
    EXPECT_DOUBLE_EQ(PersonaBuilder::stats("Amma", archive.messages).averageBurst, 2.0);

    Archive opening;
    opening.say("Amma", "a")
        .say("Amma", "b")
        .say("Amma", "c")
        .say("Ravi", "d")
        .say("Amma", "e")
        .say("Ravi", "f")
        .say("Amma", "g");
    // The archive's first message is never examined, so her opening run of 3 counts as 2.
    EXPECT_DOUBLE_EQ(PersonaBuilder::stats("Amma", opening.messages).averageBurst, (2 + 1) / 2.0);

    Archive neverAnswered;
    neverAnswered.say("Amma", "a").say("Amma", "b").say("Amma", "c");
    const PersonaStats alone = PersonaBuilder::stats("Amma", neverAnswered.messages);
    EXPECT_DOUBLE_EQ(alone.averageBurst, 1.0);
    EXPECT_DOUBLE_EQ(alone.medianReplySeconds, 0);
}

TEST(PersonaStats, MedianReplyIgnoresInstantAndHourLongGapsAndTakesTheUpperMiddle) {
    auto replyingAfter = [](const std::vector<double>& gaps) {
        Archive archive;
        for (const double gap : gaps) {
            archive.sayAt("Ravi", "?", archive.clock + 7200);
            archive.sayAt("Amma", "!", archive.clock + gap);
        }
        return PersonaBuilder::stats("Amma", archive.messages).medianReplySeconds;
    };
    EXPECT_DOUBLE_EQ(replyingAfter({40, 10, 30, 20}), 30);
    // Kept: 10 and 20. Counting the 0 s and 3600 s replies would move the middle to 10.
    EXPECT_DOUBLE_EQ(replyingAfter({0, 3600, 20, 0, 10}), 20);
    EXPECT_DOUBLE_EQ(replyingAfter({3599.5, 0.5}), 3599.5);
    EXPECT_DOUBLE_EQ(replyingAfter({0, 3600, -30}), 0);
}

TEST(PersonaStats, YearsSpanIsReadInTheMachineZone) {
    PersonaStats stats;
    EXPECT_EQ(stats.yearsSpan(), "\u2014");
    stats.firstDate = at(2016, 5, 1, 12);
    EXPECT_EQ(stats.yearsSpan(), "\u2014");
    stats.lastDate = at(2024, 2, 1, 12);
    EXPECT_EQ(stats.yearsSpan(), "2016\u201324");
    stats.firstDate = at(2001, 1, 1, 0, 30);  // still 2000 in UTC
    stats.lastDate = at(2005, 6, 1, 12);
    EXPECT_EQ(stats.yearsSpan(), "2001\u20135");
    stats.firstDate = at(2019, 1, 1, 12);
    stats.lastDate = at(2019, 12, 31, 23);
    EXPECT_EQ(stats.yearsSpan(), "2019\u201319");
}

TEST(PersonaStats, JsonKeepsEveryFieldInOrderAndDatesOnlyWhenPresent) {
    PersonaStats stats;
    stats.messageCount = 1234;
    stats.averageWords = 5.25;
    stats.longestWords = 40;
    stats.topEmoji = {"\U0001F64F", "\u2764"};
    stats.emojiRate = 0.125;
    stats.vocatives = {"kanna"};
    stats.commonOpenings = {"hi", ""};
    stats.signaturePhrases = {"good night"};
    stats.scripts = {"Latin", "Telugu"};
    stats.hourHistogram[21] = 7;
    stats.medianReplySeconds = 95;
    stats.averageBurst = 2.5;
    stats.firstDate = 1552389332;  // whole seconds: the stored form drops fractions

    nlohmann::ordered_json json = stats;
    std::vector<std::string> keys;
    for (const auto& item : json.items())
        keys.push_back(item.key());
    EXPECT_EQ(keys, (std::vector<std::string>{
                        "messageCount", "averageWords", "longestWords", "topEmoji", "emojiRate",
                        "vocatives", "commonOpenings", "commonClosings", "signaturePhrases",
                        "topics", "peopleNamed", "questionRatio", "scripts", "noPunctuationRatio",
                        "hourHistogram", "medianReplySeconds", "averageBurst", "firstDate"}));
    EXPECT_EQ(json["firstDate"], "2019-03-12T11:15:32Z");
    EXPECT_TRUE(json["messageCount"].is_number_integer());

    EXPECT_EQ(nlohmann::ordered_json::parse(json.dump(2)).get<PersonaStats>(), stats);
    EXPECT_EQ(nlohmann::ordered_json(PersonaStats{}).get<PersonaStats>(), PersonaStats{});
}

TEST(PersonaStats, JsonWithAMissingOrMistypedFieldIsUnreadable) {
    PersonaStats stats;
    stats.messageCount = 3;
    stats.lastDate = 1552389332;
    const nlohmann::ordered_json good = stats;

    auto unreadable = [&](const char* key, const nlohmann::ordered_json* value) {
        nlohmann::ordered_json json = good;
        if (value == nullptr) {
            json.erase(key);
        } else {
            json[key] = *value;
        }
        PersonaStats target;
        target.messageCount = 77;
        EXPECT_THROW(json.get_to(target), nlohmann::json::exception) << key;
        EXPECT_EQ(target.messageCount, 77) << "a failed read must leave the value alone";
    };
    for (const char* key : {"messageCount", "averageWords", "topEmoji", "hourHistogram",
                            "averageBurst", "noPunctuationRatio"}) {
        unreadable(key, nullptr);
    }
    const nlohmann::ordered_json text = "3", fraction = 2.5, mixedList = {"a", 1}, hours = {1, 2.5},
                                 badDate = "last spring";
    unreadable("messageCount", &text);
    unreadable("longestWords", &fraction);
    unreadable("averageWords", &text);
    unreadable("vocatives", &mixedList);
    unreadable("hourHistogram", &hours);
    unreadable("lastDate", &badDate);
    EXPECT_THROW(nlohmann::ordered_json::array().get<PersonaStats>(), nlohmann::json::exception);

    nlohmann::ordered_json withoutDates = good;
    withoutDates.erase("lastDate");
    EXPECT_FALSE(withoutDates.get<PersonaStats>().lastDate.has_value());
    withoutDates["firstDate"] = nullptr;
    EXPECT_FALSE(withoutDates.get<PersonaStats>().firstDate.has_value());
}

}  // namespace
}  // namespace lumenary
