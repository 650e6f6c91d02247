#include <gtest/gtest.h>

#include "TestSupport.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "text/TextRules.h"
#include "voice/PersonaBuilder.h"
#include "voice/VocabularyCounting.h"

namespace lumenary {
namespace {

using Strings = std::vector<std::string>;

// A two-sided chat: her messages and everyone else's, kept in one archive as the miners see it.
struct Chat {
    std::vector<ChatMessage> all;

    Chat(const Strings& hers, const Strings& others = {}) {
        all.reserve(hers.size() + others.size());
        for (const auto& text : hers)
            all.push_back({testing::labelledId("h" + std::to_string(all.size())), "Amma", text, 0});
        for (const auto& text : others) {
            all.push_back({testing::labelledId("o" + std::to_string(all.size())), "Ravi", text, 0});
        }
    }
    PersonaBuilder::HerMessages her() const {
        PersonaBuilder::HerMessages list;
        for (const auto& message : all) {
            if (message.sender == "Amma")
                list.push_back(&message);
        }
        return list;
    }
};

Strings repeated(const std::string& text, int times) {
    return Strings(static_cast<std::size_t>(times), text);
}

Strings operator+(Strings a, const Strings& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(VocabularyMining, VocativesMatchWholeLetterRunsAndNeedNoMinimum) {
    const Chat chat({"Kanna, did you eat? kanna", "Kannamma come home", "amma's cooking",
                     "RA where are you", "bujji", "ok beta", "da da da"});
    // kanna 2 and da 3 outrank the single uses; of those, the first seen survive the limit of 4.
    EXPECT_EQ(PersonaBuilder::mineVocatives(chat.her()), (Strings{"da", "kanna", "amma", "ra"}));

    const Chat once({"good night kanna"}, repeated("kanna kanna", 5));
    // Her side only: the other side's uses do not count, and one use is enough.
    EXPECT_EQ(PersonaBuilder::mineVocatives(once.her()), (Strings{"kanna"}));
    EXPECT_TRUE(PersonaBuilder::mineVocatives(Chat({"hello there"}).her()).empty());
}

TEST(VocabularyMining, PhrasesNeedSevenCharactersAndThreeUses) {
    const Chat chat(repeated("Good night da!", 3) + repeated("i am ok da", 5) +
                    repeated("take care", 2) + repeated("don't worry", 3) + repeated("sleep", 4));
    const Strings phrases = PersonaBuilder::minePhrases(chat.her());
    // "i am" (4), "am ok" (5), "ok da" (5) are too short; "i am ok" (7) is just long enough and
    // no phrase is longer than three tokens; "take care" was seen only twice; "don't" cuts into
    // "don" and "t", and "don t" (5) is too short.
    EXPECT_EQ(phrases, (Strings{"i am ok", "am ok da", "good night", "night da", "good night da",
                                "t worry", "don t worry"}));

    // Length is counted in characters, not bytes: "éé éé" is 5 characters in 9 bytes.
    EXPECT_TRUE(
        PersonaBuilder::minePhrases(Chat(repeated("\u00E9\u00E9 \u00E9\u00E9", 3)).her()).empty());
    EXPECT_EQ(PersonaBuilder::minePhrases(
                  Chat(repeated("\u00E9\u00E9\u00E9 \u00E9\u00E9\u00E9", 3)).her()),
              (Strings{"\u00E9\u00E9\u00E9 \u00E9\u00E9\u00E9"}));
}

TEST(VocabularyMining, PhrasesKeepOnlyTheEightMostRepeated) {
    Strings hers;
    for (int i = 0; i < 10; ++i) {
        // Ten distinct bigrams, the later ones more frequent.
        hers = hers + repeated("word" + std::to_string(i) + " again", 3 + i);
    }
    const Strings phrases = PersonaBuilder::minePhrases(Chat(hers).her());
    ASSERT_EQ(phrases.size(), 8u);
    EXPECT_EQ(phrases.front(), "word9 again");
    EXPECT_EQ(phrases.back(), "word2 again");
}

// The phrase counter numbers tokens and counts in hash partitions; whatever it does, it must find
// what plainly joining the tokens and counting the texts finds, in the same first-use order.
TEST(VocabularyMining, PhraseCounterAgreesWithCountingTheJoinedTexts) {
    // Words that glue to a neighbouring space (a Malayalam dot reph before it, a halfwidth sound
    // mark after it) make a joined phrase shorter than its parts, and cafés take two bytes a
    // letter.
    const Strings vocabulary = {"ok",      "da",      "amma", "caf\u00E9", "\u0C2C\u0C3E\u0C17",
                                "x\u0D4E", "\uFF9Ex", "9",    "good",      "night",
                                "t"};
    std::uint64_t seed = 12345;
    auto next = [&seed](std::size_t bound) {
        seed = seed * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<std::size_t>((seed >> 33) % bound);
    };
    VocabularyCounting::PhraseCounter counter;
    std::unordered_map<std::string, long long> expected;
    Strings firstUse;
    for (int message = 0; message < 3000; ++message) {
        Strings tokens;
        for (std::size_t n = next(7); n > 0; --n)
            tokens.push_back(vocabulary[next(vocabulary.size())]);
        counter.add(std::vector<std::string_view>(tokens.begin(), tokens.end()));
        for (std::size_t n = 2; n <= 3; ++n) {
            for (std::size_t start = 0; start + n <= tokens.size(); ++start) {
                std::string phrase = tokens[start];
                for (std::size_t k = 1; k < n; ++k)
                    phrase += " " + tokens[start + k];
                if (text::characterCount(phrase) < 7)
                    continue;
                if (expected[phrase]++ == 0)
                    firstUse.push_back(phrase);
            }
        }
    }
    using Counts = std::vector<std::pair<std::string, long long>>;
    Counts all;
    for (const auto& phrase : firstUse)
        all.emplace_back(phrase, expected[phrase]);
    const CountingTable counted = counter.atLeast(1, all.size());
    EXPECT_EQ(Counts(counted.begin(), counted.end()), all);

    // Keeping only what can rank among the top 8 changes nothing in the top 8, ties included.
    Counts frequent;
    for (const auto& entry : all) {
        if (entry.second >= 3)
            frequent.push_back(entry);
    }
    std::stable_sort(frequent.begin(), frequent.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    ASSERT_GT(frequent.size(), 8u);
    frequent.resize(8);
    Counts shortlist = text::rankByCount(counter.atLeast(3, 8));
    ASSERT_GE(shortlist.size(), 8u);
    shortlist.resize(8);
    EXPECT_EQ(shortlist, frequent);
}

TEST(VocabularyMining, TopicsFavourWordsOnlySheUses) {
    const Chat chat(repeated("biryani tomorrow", 3) + repeated("Office with tea", 3) +
                        repeated("rice rice", 3) + Strings{"sambar"},
                    repeated("office work", 9) + repeated("tomorrow", 3) + repeated("rice", 3));
    // Her tally: biryani 3, tomorrow 3, office 3, rice 6, sambar 1 (T = 16). Scores: rice 12/T
    // (her heavy use outweighs his), biryani 9/T, tomorrow 3/T, office 1/T. "tea" is too short,
    // "with" a stopword, "sambar" too rare.
    EXPECT_EQ(PersonaBuilder::mineTopics(chat.her(), chat.all),
              (Strings{"rice", "biryani", "tomorrow", "office"}));

    // Without a word of four characters nothing is a topic.
    EXPECT_TRUE(PersonaBuilder::mineTopics(Chat(repeated("ok da tea", 5)).her(), {}).empty());
}

TEST(VocabularyMining, TopicsTreatEveryoneElseInAGroupAsTheOtherSide) {
    Chat chat(repeated("cricket match", 3), repeated("cricket", 2));
    chat.all.push_back({testing::labelledId("x1"), "Lakshmi", "cricket cricket cricket cricket", 0});
    chat.all.push_back({testing::labelledId("x2"), "Lakshmi", "match", 0});
    // Against Ravi and Lakshmi together cricket scores 3/6 × 3/6, match 3/6 × 3/1.
    EXPECT_EQ(PersonaBuilder::mineTopics(chat.her(), chat.all), (Strings{"match", "cricket"}));
}

TEST(VocabularyMining, PeopleAreCapitalisedWordsAfterTheFirst) {
    const Chat chat(repeated("Tell Ravi I said hi", 2) + Strings{"is Ravi! there"} +
                    repeated("Lakshmi is coming", 3) +
                    repeated("Ravi, Ravi, RAVI McDonald Ravi's Sunday", 3) +
                    repeated("ask \u00C9mile and Sunday.", 2) +
                    repeated("ok Ab Abcdefghijklmn Abcdefghijklmno R2d2", 3));
    // Ravi 6 and Lakshmi none (a message's first word never counts), Sunday 5 (no list of common
    // words), Abcdefghijklmn 3 (14 letters); Émile 2 is not enough; "RAVI", "McDonald" and
    // "Ravi's" are not names, "Ab" is too short and 15 letters too long.
    EXPECT_EQ(PersonaBuilder::minePeople(chat.her()),
              (Strings{"Ravi", "Sunday", "Abcdefghijklmn"}));
}

TEST(VocabularyMining, ListJoinsWithAndBeforeTheLast) {
    EXPECT_EQ(PersonaBuilder::list({}), "");
    EXPECT_EQ(PersonaBuilder::list({"kanna"}), "kanna");
    EXPECT_EQ(PersonaBuilder::list({"x", "y"}), "x and y");
    EXPECT_EQ(PersonaBuilder::list({"a", "b", "c", "d"}), "a, b, c and d");
}

}  // namespace
}  // namespace lumenary
