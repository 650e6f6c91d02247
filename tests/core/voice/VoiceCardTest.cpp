#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "common/LocalTime.h"
#include "voice/PersonaBuilder.h"

namespace lumenary {
namespace {

// Month names and hours follow the machine's locale and zone: pin both before anything reads them.
const bool kEnvironmentPinned = [] {
    return setenv("TZ", "Asia/Kolkata", 1) == 0 && setenv("LC_ALL", "en_US.UTF-8", 1) == 0;
}();

std::vector<std::string> paragraphs(const std::string& card) {
    std::vector<std::string> out;
    std::size_t start = 0;
    for (std::size_t end; (end = card.find("\n\n", start)) != std::string::npos; start = end + 2) {
        out.push_back(card.substr(start, end - start));
    }
    out.push_back(card.substr(start));
    return out;
}

std::string firstParagraph(const PersonaStats& stats) {
    return paragraphs(PersonaBuilder::card("Amma", "Mother", stats)).front();
}

TEST(VoiceCard, DefaultRecordGivesTheTwoAlwaysPresentParagraphs) {
    ASSERT_TRUE(kEnvironmentPinned);
    EXPECT_EQ(PersonaBuilder::card("Amma", "Mother", PersonaStats{}),
              "Amma is your mother. She writes short messages \u2014 about 0 words each.\n\n"
              "She writes most around midnight.");
    EXPECT_EQ(paragraphs(PersonaBuilder::card("Lakshmi", "Someone else", PersonaStats{})).front(),
              "Lakshmi is your someone else. She writes short messages \u2014 about 0 words each.");
}

TEST(VoiceCard, LengthParagraphRoundsAndCapsTheLongestMessage) {
    PersonaStats stats;
    stats.averageWords = 1.4;
    EXPECT_EQ(firstParagraph(stats),
              "Amma is your mother. She writes short messages \u2014 about 1 word each.");
    stats.averageWords = 1.5;  // half rounds away from zero
    EXPECT_EQ(firstParagraph(stats),
              "Amma is your mother. She writes short messages \u2014 about 2 words each.");

    stats.averageWords = 4.5;
    stats.longestWords = 15;  // not above 3 × 5
    EXPECT_EQ(firstParagraph(stats),
              "Amma is your mother. She writes short messages \u2014 about 5 words each.");
    stats.longestWords = 16;
    EXPECT_EQ(firstParagraph(stats),
              "Amma is your mother. She writes short messages \u2014 about "
              "5 words each, and rarely more than 16.");
    stats.longestWords = 40;
    EXPECT_EQ(firstParagraph(stats),
              "Amma is your mother. She writes short messages \u2014 about "
              "5 words each, and rarely more than 20.");

    stats.longestWords = 5;
    stats.averageBurst = 1.6;
    EXPECT_EQ(firstParagraph(stats),
              "Amma is your mother. She writes short messages \u2014 about 5 words each. She "
              "sends 1.6 in a row on average rather than one long one, often repeating herself "
              "with small variations.");
    stats.averageBurst = 2.46;
    EXPECT_NE(firstParagraph(stats).find(" She sends 2.5 in a row"), std::string::npos);
    stats.averageBurst = 1.59;
    EXPECT_EQ(firstParagraph(stats).find("She sends"), std::string::npos);
}

TEST(VoiceCard, RatiosAppearOnlyAboveTheirThresholds) {
    PersonaStats stats;
    stats.noPunctuationRatio = 0.4;
    stats.questionRatio = 0.25;
    EXPECT_EQ(paragraphs(PersonaBuilder::card("Amma", "Mother", stats)).size(), 2u);

    stats.noPunctuationRatio = 0.41;
    stats.questionRatio = 0.2501;
    stats.topEmoji = {"\U0001F64F", "\u2764", "\U0001F602", "\U0001F60A", "\U0001F44D"};
    stats.emojiRate = 0.125;
    const std::vector<std::string> card = paragraphs(PersonaBuilder::card("Amma", "Mother", stats));
    ASSERT_EQ(card.size(), 5u);
    EXPECT_EQ(card[1],
              "Her emoji are \U0001F64F \u2764 \U0001F602 \U0001F60A, in roughly 13 messages in a "
              "hundred. Use only these, and no others.");
    EXPECT_EQ(card[2], "She leaves 41% of her messages without any full stop or comma at all.");
    EXPECT_EQ(card[3],
              "She asks a question in 25% of her messages \u2014 she checks on you before "
              "she tells you anything.");
}

TEST(VoiceCard, ScriptParagraphSinglesOutLatinAlone) {
    PersonaStats stats;
    stats.scripts = {"Latin"};
    EXPECT_EQ(paragraphs(PersonaBuilder::card("Amma", "Mother", stats))[1],
              "She writes in the Latin alphabet throughout \u2014 where that is not English, it is "
              "her own language spelled out in English letters. Match that exactly; never switch "
              "her into a native script, and never translate her into plain English.");
    stats.scripts = {"Latin", "Telugu"};
    EXPECT_EQ(paragraphs(PersonaBuilder::card("Amma", "Mother", stats))[1],
              "She writes in Latin and Telugu, mixing them within a message. Match that mix.");
    stats.scripts = {"Telugu"};
    EXPECT_EQ(paragraphs(PersonaBuilder::card("Amma", "Mother", stats))[1],
              "She writes in Telugu, mixing them within a message. Match that mix.");
}

TEST(VoiceCard, WordParagraphsQuoteAndTrimTheirLists) {
    PersonaStats stats;
    stats.averageWords = 6;
    stats.vocatives = {"kanna", "ra"};
    stats.commonOpenings = {"hi", "kanna", "ok", "did", "hello"};
    stats.commonClosings = {"ra", "da", "ok", "bye"};
    stats.signaturePhrases = {"p1 x", "p2 x", "p3 x", "p4 x", "p5 x", "p6 x", "p7 x"};
    stats.topics = {"t1", "t2", "t3", "t4", "t5", "t6", "t7", "t8", "t9"};
    stats.peopleNamed = {"Ravi", "Lakshmi", "Sunday"};
    EXPECT_EQ(PersonaBuilder::card("Amma", "Mother", stats),
              "Amma is your mother. She writes short messages \u2014 about 6 words each.\n\n"
              "She calls you \"kanna\" and \"ra\". It appears often but not in every message.\n\n"
              "She tends to begin with \"hi\", \"kanna\", \"ok\" and \"did\".\n\n"
              "She tends to end on \"ra\", \"da\" and \"ok\".\n\n"
              "Phrases she uses again and again: \"p1 x\", \"p2 x\", \"p3 x\", \"p4 x\", "
              "\"p5 x\", \"p6 x\".\n\n"
              "What she actually talks about, far more than you do: t1, t2, t3, t4, t5, t6, t7, "
              "t8.\n\n"
              "People she mentions: Ravi, Lakshmi and Sunday. You may refer to them, but never "
              "invent anything about them.\n\n"
              "She writes most around midnight.");
}

TEST(VoiceCard, RhythmParagraphNamesTheHourReplySpeedAndSpan) {
    auto rhythm = [](const PersonaStats& stats) {
        return paragraphs(PersonaBuilder::card("Amma", "Mother", stats)).back();
    };
    PersonaStats stats;
    stats.hourHistogram[12] = 3;
    EXPECT_EQ(rhythm(stats), "She writes most around noon.");
    stats.hourHistogram[13] = 4;
    EXPECT_EQ(rhythm(stats), "She writes most around 1 pm.");
    stats.hourHistogram[9] = 4;  // ties go to the earlier hour
    EXPECT_EQ(rhythm(stats), "She writes most around 9 am.");

    stats.medianReplySeconds = 89;
    EXPECT_EQ(rhythm(stats), "She writes most around 9 am. She replies almost immediately.");
    stats.medianReplySeconds = 90;
    EXPECT_EQ(rhythm(stats), "She writes most around 9 am. She usually replies within 2 minutes.");

    stats.medianReplySeconds = 0;
    stats.firstDate = LocalTime::fromCivil({2019, 3, 12, 10, 0, 0});
    EXPECT_EQ(rhythm(stats), "She writes most around 9 am.");
    // 1 July 02:00 in Kolkata is still 30 June in UTC: the month is read in the machine's zone.
    stats.lastDate = LocalTime::fromCivil({2024, 7, 1, 2, 0, 0});
    EXPECT_EQ(rhythm(stats),
              "She writes most around 9 am. These messages run from March 2019 to July 2024.");
}

TEST(VoiceCard, DamagedNumbersStillGiveACard) {
    PersonaStats stats;
    stats.averageWords = 1e300;
    stats.longestWords = std::numeric_limits<long long>::max();
    stats.averageBurst = 1e300;
    stats.emojiRate = std::numeric_limits<double>::quiet_NaN();
    stats.topEmoji = {"\U0001F64F"};
    stats.medianReplySeconds = std::numeric_limits<double>::infinity();
    stats.hourHistogram.assign(30, 0);
    stats.hourHistogram[29] = 1;
    const std::string card = PersonaBuilder::card("Amma", "Mother", stats);
    EXPECT_EQ(card.rfind("Amma is your mother. She writes short messages", 0), 0u);
    EXPECT_NE(card.find("Her emoji are \U0001F64F, in roughly 0 messages"), std::string::npos);
}

}  // namespace
}  // namespace lumenary
