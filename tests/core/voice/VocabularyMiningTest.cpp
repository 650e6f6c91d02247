#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "voice/PersonaBuilder.h"

namespace lumenary {
namespace {

using Strings = std::vector<std::string>;

// A two-sided chat: her messages and everyone else's, kept in one archive as the miners see it.
struct Chat {
    std::vector<ChatMessage> all;

    Chat(const Strings& hers, const Strings& others = {}) {
        all.reserve(hers.size() + others.size());
        for (const auto& text : hers) all.push_back({"h" + std::to_string(all.size()), "Amma", text, 0});
        for (const auto& text : others) {
            all.push_back({"o" + std::to_string(all.size()), "Ravi", text, 0});
        }
    }
    PersonaBuilder::HerMessages her() const {
        PersonaBuilder::HerMessages list;
        for (const auto& message : all) {
            if (message.sender == "Amma") list.push_back(&message);
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
    EXPECT_EQ(PersonaBuilder::mineVocatives(chat.her()),
              (Strings{"da", "kanna", "amma", "ra"}));

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
    EXPECT_TRUE(PersonaBuilder::minePhrases(Chat(repeated("\u00E9\u00E9 \u00E9\u00E9", 3)).her())
                    .empty());
    EXPECT_EQ(PersonaBuilder::minePhrases(Chat(repeated("\u00E9\u00E9\u00E9 \u00E9\u00E9\u00E9", 3)).her()),
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
    chat.all.push_back({"x1", "Lakshmi", "cricket cricket cricket cricket", 0});
    chat.all.push_back({"x2", "Lakshmi", "match", 0});
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
