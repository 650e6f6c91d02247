#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"
#include "importer/ParsePipeline.h"
#include "importer/WhatsAppParser.h"

namespace lumenary {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

CivilTime civilOf(const ChatMessage& message) {
    return LocalTime::civil(message.date);
}

std::string fixture(const std::string& name) {
    return testing::readFile(testing::testData(name));
}

TEST(WhatsAppParser, ReadsBothLayoutsWithTheirLocalDates) {
    const auto messages = WhatsAppParser::parse(
        "[12/03/2021, 10:15:32 PM] Amma: Did you eat?\n"
        "12/03/21, 22:15 - Amma: Did you eat?\n"
        "12.03.21, 22:15 - Amma: hi\n"
        "12-03-2021, 22:15 - Amma: hello\n");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Did you eat?"), Pair("Amma", "Did you eat?"),
                            Pair("Amma", "hi"), Pair("Amma", "hello")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 32}));
    for (std::size_t i = 1; i < messages.size(); ++i) {
        EXPECT_EQ(civilOf(messages[i]), (CivilTime{2021, 3, 12, 22, 15, 0}));
    }
    // CTest runs in Asia/Kolkata, 5 h 30 min ahead of UTC.
    EXPECT_EQ(LocalTime::isoUtc(messages[0].date), "2021-03-12T16:45:32Z");
    EXPECT_NE(messages[0].id, messages[1].id);
}

TEST(WhatsAppParser, JoinsContinuationLinesToTheLastKeptMessage) {
    const auto messages = WhatsAppParser::parse(
        "Saved from an old phone\n"
        "12/03/21, 22:15 - Amma: Sleep early\r\n"
        "\ttomorrow is a long day  \r\n"
        "\r\n"
        "   \n"
        "love you\r\n"
        "12/03/21, 22:16 - Amma: <Media omitted>\n"
        "that was the temple\n");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text,
              "Sleep early\ntomorrow is a long day\nlove you\nthat was the temple");
}

TEST(WhatsAppParser, KeepsOnlyWhatPeopleWroteInAnIphoneExport) {
    const auto messages = WhatsAppParser::parse(fixture("ios-12h-nnbsp.txt"));
    EXPECT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Did you eat?"), Pair("Ravi", "Yes amma, dal and rice"),
                    Pair("Amma", "Good. Sleep early kanna\nTomorrow is a long day\nLove you"),
                    Pair("Amma", "Beautiful photo \U0001F60A"),
                    Pair("Ravi", "Try this one https://example.com/recipe")));
    // The narrow no-break space before "PM" does not cost the message its date.
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 3, 13, 7, 5, 48}));
}

TEST(WhatsAppParser, KeepsOnlyWhatPeopleWroteInAnAndroidExport) {
    const auto messages = WhatsAppParser::parse(fixture("android-24h.txt"));
    EXPECT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Did you eat?"), Pair("Ravi", "Yes amma"),
                            Pair("Amma", "Ok. Call me tomorrow\nafter your office"),
                            Pair("Amma", "I was busy"), Pair("Amma", "Reached temple"),
                            Pair("Amma", "Pooja done")));
    EXPECT_EQ(civilOf(messages.back()), (CivilTime{2021, 3, 13, 8, 5, 0}));
}

TEST(WhatsAppParser, TellsNoiseFromMessages) {
    for (const char* noise :
         {"image omitted", "\u200EIMAGE OMITTED", "<attached: 00000012-PHOTO.jpg>",
          "\u200E<attached: 00000012-PHOTO.jpg>", "<Media omitted>", "Missed voice call",
          "Missed group video call", "Voice call, 12 min", "Video call", "5 minutes", "busy",
          "BUSY", "  No answer \n", "Call failed", "https://example.com/x", "\u00A0 \t\n",
          "You deleted this message", "Ravi changed this group's icon"}) {
        EXPECT_TRUE(WhatsAppParser::isNoise(noise)) << noise;
    }
    for (const char* message :
         {"I was busy", "busy day", "call me", "5 minutes late", "see https://example.com/x", "<3",
          "ok", "\U0001F60A", "Missed you", "1234 min"}) {
        EXPECT_FALSE(WhatsAppParser::isNoise(message)) << message;
    }
    // A long bracketed text is a real message, not a placeholder.
    EXPECT_FALSE(WhatsAppParser::isNoise("<" + std::string(119, 'a') + ">"));
    EXPECT_TRUE(WhatsAppParser::isNoise("<" + std::string(117, 'a') + ">"));
}

TEST(WhatsAppParser, EndsTheSenderAtTheFirstColonAndWithinSixtyCharacters) {
    const auto hit = WhatsAppParser::match("[12/03/2021, 10:15:32 PM]  Ann:Bea: hi");
    ASSERT_TRUE(hit.has_value());
    EXPECT_EQ(hit->sender, "Ann");
    EXPECT_EQ(hit->body, "Bea: hi");

    const std::string sixty(60, 'x');
    EXPECT_TRUE(WhatsAppParser::match("12/03/21, 22:15 - " + sixty + ": hi").has_value());
    EXPECT_FALSE(WhatsAppParser::match("12/03/21, 22:15 - " + sixty + "y: hi").has_value());
    EXPECT_FALSE(WhatsAppParser::match("[12/03/21, 22:15] " + sixty + "y: hi").has_value());
}

TEST(WhatsAppParser, RemovesDirectionMarksFromEveryField) {
    const auto messages = WhatsAppParser::parse(
        "\u200E[12/03/2021, 10:15:32\u200F PM] \u200EAm\u200Fma\u200E: \u200Ehi\u200E there\n"
        "\u200Fsecond\u200E line\n");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].sender, "Amma");
    EXPECT_EQ(messages[0].text, "hi there\nsecond line");
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 32}));
}

TEST(WhatsAppParser, DatesThatDoNotReadBecomeTheMomentOfTheImport) {
    const Timestamp before = now();
    const auto messages = WhatsAppParser::parse(
        "[Friday 12 March, 10:15] Amma: hi\n"
        "31/02/21, 22:15 - Amma: no such day\n");
    const Timestamp after = now();
    ASSERT_EQ(messages.size(), 2u);
    for (const ChatMessage& message : messages) {
        EXPECT_GE(message.date, before);
        EXPECT_LE(message.date, after);
    }
}

TEST(WhatsAppParser, DropsNoticesOfTheAppInsteadOfJoiningThem) {
    const auto messages = WhatsAppParser::parse(
        "12/03/21, 22:15 - Amma: Good night\n"
        "12/03/21, 22:19 - Lakshmi left\n"
        "[12/03/2021, 10:20:00 PM] Ravi changed the group description\n"
        "45/03/21, 22:21 - this only looks like a notice\n");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, "Good night\n45/03/21, 22:21 - this only looks like a notice");
    EXPECT_TRUE(WhatsAppParser::parse(fixture("system-lines-only.txt")).empty());
}

TEST(WhatsAppParser, ReadsMonthFirstExportsMonthFirst) {
    const auto messages = WhatsAppParser::parse(fixture("android-month-first.txt"));
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Did you reach?"), Pair("Ravi", "Yes just now"),
                            Pair("Amma", "Good morning"), Pair("Amma", "Happy birthday kanna"),
                            Pair("Ravi", "Thank you amma")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 1, 21, 5, 0}));
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2021, 3, 2, 8, 0, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2021, 4, 2, 7, 15, 0}));
}

TEST(WhatsAppParser, DecidesTheDateOrderOnceForTheWholeFile) {
    // No number above 12: the order under which time runs forward wins, day first on a tie.
    const auto monthFirst = WhatsAppParser::parse(
        "11/1/21, 10:00 - A: one\n11/2/21, 10:00 - A: two\n12/1/21, 10:00 - A: three\n");
    ASSERT_EQ(monthFirst.size(), 3u);
    EXPECT_EQ(civilOf(monthFirst[2]), (CivilTime{2021, 12, 1, 10, 0, 0}));
    const auto tie = WhatsAppParser::parse("1/2/21, 10:00 - A: one\n2/3/21, 10:00 - A: two\n");
    ASSERT_EQ(tie.size(), 2u);
    EXPECT_EQ(civilOf(tie[0]), (CivilTime{2021, 2, 1, 10, 0, 0}));

    // A day above 12 anywhere makes the whole file day first, even after a month above 12: the
    // earlier line then has no valid date, and a notice dated only month first is no notice.
    const Timestamp before = now();
    const auto dayFirst = WhatsAppParser::parse(
        "2/3/21, 10:00 - A: one\n"
        "1/13/21, 10:00 - A: two\n"
        "1/14/21, 10:00 - Ravi left\n"
        "14/1/21, 10:00 - A: three\n");
    ASSERT_THAT(testing::sendersAndTexts(dayFirst),
                ElementsAre(Pair("A", "one"), Pair("A", "two\n1/14/21, 10:00 - Ravi left"),
                            Pair("A", "three")));
    EXPECT_EQ(civilOf(dayFirst[0]), (CivilTime{2021, 3, 2, 10, 0, 0}));
    EXPECT_GE(dayFirst[1].date, before);
    EXPECT_EQ(civilOf(dayFirst[2]), (CivilTime{2021, 1, 14, 10, 0, 0}));
}

TEST(WhatsAppParser, CountsTheDatesOfNoticesWhenTheOrderIsUndecided) {
    // Both messages run forward either way; only the notice, read day first, steps back (to
    // 5 January, before 4 February), so the file is month first.
    const auto messages = WhatsAppParser::parse(
        "3/1/21, 10:00 - Amma: one\n"
        "4/2/21, 10:00 - Amma: two\n"
        "5/1/21, 10:00 - Ravi left\n"
        "still two\n");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "one"), Pair("Amma", "two\nstill two")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 1, 10, 0, 0}));
    EXPECT_EQ(civilOf(messages[1]), (CivilTime{2021, 4, 2, 10, 0, 0}));

    // A notice is evidence of the order by its numbers, too.
    const auto byNumber = WhatsAppParser::parse(
        "3/1/21, 10:00 - Amma: one\n3/25/21, 10:00 - Ravi left\n4/2/21, 10:00 - Amma: two\n");
    ASSERT_EQ(byNumber.size(), 2u);
    EXPECT_EQ(civilOf(byNumber[1]), (CivilTime{2021, 4, 2, 10, 0, 0}));
}

TEST(WhatsAppParser, DecidesTheOrderOfEachLayoutOfAMergedExport) {
    // An iPhone part written in the US, an Android part written in India, in one file.
    const std::string iphone =
        "[3/1/21, 9:05:00 PM] Amma: from the iPhone\n"
        "[3/25/21, 6:30:00 PM] Amma: happy birthday\n";
    const std::string android =
        "2/3/2021, 10:00 - Amma: from the Android\n"
        "25/03/2021, 18:30 - Amma: again\n";
    for (const std::string& text : {iphone + android, android + iphone}) {
        const auto messages = WhatsAppParser::parse(text);
        ASSERT_EQ(messages.size(), 4u);
        for (const ChatMessage& message : messages) {
            if (message.text == "from the iPhone") {
                EXPECT_EQ(civilOf(message), (CivilTime{2021, 3, 1, 21, 5, 0}));
            }
            if (message.text == "from the Android") {
                EXPECT_EQ(civilOf(message), (CivilTime{2021, 3, 2, 10, 0, 0}));
            }
        }
    }
    // The Android part shows a month above 12 first and a day above 12 only at its end, so it is
    // read again day first; the iPhone part keeps its month-first dates.
    const Timestamp before = now();
    std::string late = "[3/25/21, 6:30:00 PM] Amma: a\n1/13/21, 10:00 - Amma: no such month\n";
    for (int i = 0; i < 50; ++i)
        late += "2/3/21, 10:00 - Amma: b\n1/5/21, 10:00 - Ravi: c\n";
    late += "13/5/21, 10:00 - Amma: d\n[4/1/21, 8:00:00 AM] Amma: e\n";
    const auto messages = WhatsAppParser::parse(late);
    ASSERT_EQ(messages.size(), 104u);
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 25, 18, 30, 0}));
    EXPECT_GE(messages[1].date, before);
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2021, 3, 2, 10, 0, 0}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 5, 1, 10, 0, 0}));
    EXPECT_EQ(civilOf(messages[102]), (CivilTime{2021, 5, 13, 10, 0, 0}));
    EXPECT_EQ(civilOf(messages[103]), (CivilTime{2021, 4, 1, 8, 0, 0}));
}

TEST(WhatsAppParser, ReadsTheOtherShapesOnlyWhereTheTwoLayoutsDoNot) {
    const auto messages = WhatsAppParser::parse(
        "[08/11/2017 10:47:45] Amma: yes, [that] one: the blue\n"
        "12/03/2021, 22:15 - Amma: the list\n"
        "12/03/2021 9:30 at the park - Ravi: ok\n"
        "12/03/2021 9:30: meet at the station\n"
        "28/3/2025 9:29 p. m. - Ravi: ya voy\n");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "yes, [that] one: the blue"),
                            Pair("Amma",
                                 "the list\n12/03/2021 9:30 at the park - Ravi: ok\n"
                                 "12/03/2021 9:30: meet at the station"),
                            Pair("Ravi", "ya voy")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2017, 11, 8, 10, 47, 45}));
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2025, 3, 28, 21, 29, 0}));
}

TEST(WhatsAppParser, MakesAnAttachmentsCaptionItsMessage) {
    const auto messages = WhatsAppParser::parse(
        "12/03/21, 22:15 - Amma: IMG-20210312-WA0001.jpg (file attached)\n"
        "Look at this\n"
        "\n"
        "and this\n"
        "12/03/21, 22:16 - Amma: DOC-20210312-WA0002.pdf (Datei angehängt)\n"
        "12/03/21, 22:17 - Ravi left\n"
        "12/03/21, 22:17 - Ravi: nice\n"
        "12/03/21, 22:18 - Amma: IMG-20210312-WA0003.jpg (file attached)\n");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Look at this\nand this"), Pair("Ravi", "nice")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 0}));
}

TEST(WhatsAppParser, RemovesEveryDirectionControlButKeepsEmojiJoiners) {
    const auto messages = WhatsAppParser::parse(
        "\u202A[12/03/2021, 10:15:32 PM] \u2068Amma\u2069\u202C: \u202Bhi\u202E \u2066\u2067"
        "\U0001F469\u200D\U0001F467 \u2764\uFE0F\u202D\n"
        "12/03/21, 22:16 - \u202BRavi\u202C \u2067left\u2069\n"
        "[12/03/2021, 10:17:00 PM] Amma: \u200E\u2068image omitted\u2069\n");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].sender, "Amma");
    EXPECT_EQ(messages[0].text, "hi \U0001F469\u200D\U0001F467 \u2764\uFE0F");
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 32}));
}

// Texts of a megabyte or more are parsed on two threads; they must come out as one thread reads
// them, second pass included (here a day above 12 appears only after months written month
// first).
TEST(WhatsAppParser, ReadsLargeTextsOnTwoThreadsAsOnOne) {
    std::string text;
    for (int i = 0; text.size() < (3u << 20); ++i) {
        const int month = 1 + i / 4000 % 12, day = 1 + i / 150 % 25;
        text += std::to_string(month) + "/" + std::to_string(day) +
                "/21, 10:" + std::to_string(10 + i % 50) + " - " + (i % 2 ? "Amma" : "\u200ERavi") +
                ": message " + std::to_string(i) + (i % 9 ? "\n" : "\r\nmore\n");
        if (i % 1000 == 999)
            text += "1/2/21, 10:00 - Ravi left\n";
    }
    text += "14/1/21, 10:00 - Amma: the last one\n";
    const Timestamp started = now();
    const auto concurrent = WhatsAppParser::parse(text);
    const auto single = ParsePipeline::run(
        [&](LineParser& parser, ParsePipeline::Handover&) {
            parser.addText(text);
            return true;
        },
        LayoutOrders{DateOrder::dayFirst, DateOrder::dayFirst}, text.size(), false);
    ASSERT_EQ(concurrent.size(), single.messages.size());
    for (std::size_t i = 0; i < concurrent.size(); ++i) {
        ASSERT_EQ(concurrent[i].sender, single.messages[i].sender) << i;
        ASSERT_EQ(concurrent[i].text, single.messages[i].text) << i;
        // Dates that do not read are the moment of each parse.
        if (single.messages[i].date < started) {
            ASSERT_EQ(concurrent[i].date, single.messages[i].date) << i;
        } else {
            ASSERT_GE(concurrent[i].date, started) << i;
        }
    }
    EXPECT_EQ(civilOf(concurrent.back()), (CivilTime{2021, 1, 14, 10, 0, 0}));
}

TEST(WhatsAppParser, NeverFailsOnOddText) {
    EXPECT_TRUE(WhatsAppParser::parse("").empty());
    EXPECT_TRUE(WhatsAppParser::parse("\n\n\r\n").empty());
    EXPECT_TRUE(WhatsAppParser::parse(std::string("\0\xFF\xFE[12/03/21, \x80", 13)).empty());
    // Lines of megabytes, one of them full of the characters the header patterns try.
    std::string brackets = "[";
    for (int i = 0; i < 400000; ++i)
        brackets += ", ]-";
    const std::string longLine = "12/03/21, 22:15 - Amma: " + std::string(4 << 20, 'a');
    const auto messages = WhatsAppParser::parse(longLine + "\n" + brackets);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text.size(), (4u << 20) + 1 + brackets.size());
}

}  // namespace
}  // namespace lumenary
