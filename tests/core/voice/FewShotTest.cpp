#include <gtest/gtest.h>

#include "TestSupport.h"

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "voice/FewShot.h"

namespace lumenary {
namespace {

const std::string kHer = "Amma";

// An archive of (prompt, reply) pairs one minute apart, an hour between pairs.
std::vector<ChatMessage> conversation(const std::vector<std::pair<std::string, std::string>>& pairs,
                                      Timestamp start = 1'600'000'000) {
    std::vector<ChatMessage> archive;
    int next = 0;
    for (const auto& [prompt, reply] : pairs) {
        archive.push_back({testing::labelledId(testing::numbered("P", next)), "Ravi", prompt, start});
        archive.push_back({testing::labelledId(testing::numbered("R", next++)), kHer, reply, start + 60});
        start += 3600;
    }
    return archive;
}

std::vector<std::string> replies(const std::vector<Exchange>& bank) {
    std::vector<std::string> texts;
    for (const auto& chosen : bank)
        texts.push_back(chosen.reply.text);
    return texts;
}

TEST(FewShot, CharacteristicnessRewardsTypicalLengthEmojiQuestionsAndEndearments) {
    const struct {
        std::optional<std::string> prompt;
        std::string reply;
        double score;
    } cases[] = {
        {"hi", "Did you eat kanna?", 5.7},            // 4 words: 2.2, a question, an endearment
        {"are you home", "Did you eat kanna?", 6.7},  // and a prompt of 3 words
        {std::nullopt, "a b c d e f g", 3.4},
        {"two  words\tthree", "ok", 1.0},
        {std::nullopt, "a b c d e f g h i j k l m", 1.0},
        {std::nullopt, "KANNA, kanna!", 3.9},  // the endearment counts once, in any case
        {std::nullopt, "Kannamma come", 1.4},  // a whole letter run must match
        {std::nullopt, "Tinnava KANNA? \U0001F64F", 7.3},
        {std::nullopt, "call 1\uFE0F\u20E3", 1.4},  // a keycap is no emoji
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(FewShot::characteristicness({c.prompt, {Uuid{}, kHer, c.reply, 0}}), c.score)
            << c.reply;
    }
    EXPECT_EQ(FewShot::tokenize("Don't GO, go 2day! a \U0001F64F"),
              (std::vector<std::string>{"don", "t", "go", "go", "2day", "a"}));
}

TEST(FewShot, BankTakesOnlyRepliesWithPromptsOfTwoToFortyWordsWithoutLinks) {
    std::string fortyWords, fortyOneWords;
    for (int i = 0; i < 40; ++i) {
        fortyWords += testing::numbered("w", i);
        fortyWords += " ";
    }
    fortyOneWords = fortyWords + "extra";
    std::vector<ChatMessage> archive = conversation({
        {"hello", "fine"},
        {"hello", "two words"},
        {"hello", fortyWords},
        {"hello", fortyOneWords},
        {"hello", "see https://example.com now"},
        {"hello", "see HTTPS://example.com now"},  // the link test is case-sensitive
    });
    // Her message half a day after anything else has no prompt.
    archive.push_back({testing::labelledId("late"), kHer, "nobody asked me this", archive.back().date + 50'000});

    EXPECT_EQ(replies(FewShot::mine(archive, kHer, 30)),
              (std::vector<std::string>{"two words", fortyWords, "see HTTPS://example.com now"}));
    EXPECT_TRUE(FewShot::mine(archive, kHer, 0).empty());
    EXPECT_TRUE(FewShot::mine(archive, "Nobody", 30).empty());
}

TEST(FewShot, BankSkipsNearRepeatsButNotTokenlessReplies) {
    const std::vector<ChatMessage> archive = conversation({
        {"hi", "i will eat now ok"},      // 5 words: 2.6
        {"hi", "ok ma i will eat now"},   // 5.5, and the same tokens as the first
        {"hi", "\U0001F64F \U0001F64F"},  // no tokens: never too close to anything
        {"hi", "\U0001F64F \U0001F64F \U0001F64F"},
        {"hi", "temple today was so crowded"},  // shares 2 of 5 tokens: 0.4, kept
        {"hi", "went to the temple today"},
    });
    EXPECT_EQ(
        replies(FewShot::mine(archive, kHer, 30)),
        (std::vector<std::string>{"ok ma i will eat now", "\U0001F64F \U0001F64F",
                                  "\U0001F64F \U0001F64F \U0001F64F", "temple today was so crowded",
                                  "went to the temple today"}));
}

TEST(FewShot, BankIsSortedByReplyDateNotByScore) {
    std::vector<ChatMessage> archive = conversation({
        {"hi", "plain reply here"},
        {"hi", "did you eat kanna?"},
    });
    std::swap(archive[0].date, archive[2].date);  // the archive is out of date order
    std::swap(archive[1].date, archive[3].date);
    EXPECT_EQ(replies(FewShot::mine(archive, kHer, 30)),
              (std::vector<std::string>{"did you eat kanna?", "plain reply here"}));
}

// The bank as plainly defined: score every candidate, sort stably, choose greedily, sort by date.
std::vector<std::string> referenceBank(const std::vector<ChatMessage>& archive, int limit) {
    std::vector<Exchange> candidates;
    for (const Exchange& exchange : pairExchanges(archive, kHer)) {
        std::size_t words = 0;
        for (std::size_t p = 0; p < exchange.reply.text.size(); ++p) {
            if (exchange.reply.text[p] != ' ' && (p == 0 || exchange.reply.text[p - 1] == ' '))
                ++words;
        }
        if (exchange.prompt && words >= 2 && words <= 40 &&
            exchange.reply.text.find("http") == std::string::npos) {
            candidates.push_back(exchange);
        }
    }
    std::stable_sort(candidates.begin(), candidates.end(), [](const auto& a, const auto& b) {
        return FewShot::characteristicness(a) > FewShot::characteristicness(b);
    });
    std::vector<Exchange> chosen;
    std::vector<std::set<std::string>> chosenTokens;
    for (const Exchange& candidate : candidates) {
        if (static_cast<int>(chosen.size()) >= limit)
            break;
        const std::vector<std::string> list = FewShot::tokenize(candidate.reply.text);
        const std::set<std::string> tokens(list.begin(), list.end());
        bool close = false;
        for (const auto& taken : chosenTokens) {
            if (tokens.empty() || taken.empty())
                continue;
            std::size_t shared = 0;
            for (const auto& token : tokens)
                shared += taken.count(token);
            close = close || static_cast<double>(shared) /
                                     static_cast<double>(std::min(tokens.size(), taken.size())) >
                                 0.55;
        }
        if (close)
            continue;
        chosen.push_back(candidate);
        chosenTokens.push_back(tokens);
    }
    std::stable_sort(chosen.begin(), chosen.end(),
                     [](const auto& a, const auto& b) { return a.reply.date < b.reply.date; });
    return replies(chosen);
}

TEST(FewShot, BankEqualsThePlainDefinitionOnAGeneratedArchive) {
    const std::vector<std::string> words = {"Ok",   "ma",       "kanna", "eat",        "rice",
                                            "did",  "you",      "?",     "\U0001F64F", "home",
                                            "come", "http://x", "da"};
    std::mt19937 random(9);
    std::uniform_int_distribution<std::size_t> word(0, words.size() - 1);
    std::uniform_int_distribution<int> length(1, 14), percent(0, 99);
    std::vector<ChatMessage> archive;
    Timestamp at = 1'600'000'000;
    for (int i = 0; i < 3000; ++i) {
        std::string text;
        for (int n = length(random); n > 0; --n) {
            if (!text.empty())
                text += ' ';
            text += words[word(random)];
        }
        archive.push_back({testing::labelledId(testing::numbered("M", i)), percent(random) < 60 ? kHer : "Ravi", text, at});
        at += percent(random) < 5 ? 30'000 : 90;
    }
    for (const int limit : {1, 5, 30, 3000}) {
        EXPECT_EQ(replies(FewShot::mine(archive, kHer, limit)), referenceBank(archive, limit))
            << "limit " << limit;
    }
}

}  // namespace
}  // namespace lumenary
