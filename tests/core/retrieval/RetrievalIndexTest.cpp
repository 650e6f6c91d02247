#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "retrieval/RetrievalIndex.h"

namespace lumenary {
namespace {

const std::string kHer = "Amma";

// Written with += because GCC 12 at -O3 warns falsely about "literal" + std::string.
std::string numbered(const char* prefix, int n) {
    std::string text = prefix;
    text += std::to_string(n);
    return text;
}

// Pairs of (prompt, reply) one minute apart, an hour between pairs; a missing prompt is written
// as an empty text and becomes a message of hers with nothing before it.
std::vector<ChatMessage> conversation(
    const std::vector<std::pair<std::string, std::string>>& pairs) {
    std::vector<ChatMessage> archive;
    Timestamp at = 1'600'000'000;
    int next = 0;
    for (const auto& [prompt, reply] : pairs) {
        if (!prompt.empty())
            archive.push_back({numbered("P", next), "Ravi", prompt, at});
        archive.push_back({numbered("R", next++), kHer, reply, at + 60});
        at += 86'400;
    }
    return archive;
}

std::vector<std::string> replies(const std::vector<Exchange>& found) {
    std::vector<std::string> texts;
    for (const auto& exchange : found)
        texts.push_back(exchange.reply.text);
    return texts;
}

TEST(RetrievalIndex, TokensAreLowercasedRunsOfTwoCharactersOrMoreWithoutStopwords) {
    EXPECT_EQ(RetrievalIndex::tokenize("Is it OK? ok"),
              (std::vector<std::string>{"is", "it", "ok", "ok"}));
    EXPECT_TRUE(RetrievalIndex::tokenize("you and the, a I").empty());
    EXPECT_EQ(RetrievalIndex::tokenize(
                  "Did you eat rice-2day? \u00E9 \u00E9t\u00E9 \u0C05\u0C2E\u0C4D\u0C2E"),
              (std::vector<std::string>{"eat", "rice", "2day", "\u00E9t\u00E9",
                                        "\u0C05\u0C2E\u0C4D\u0C2E"}));
}

TEST(RetrievalIndex, EmptyIndexFindsNothing) {
    EXPECT_TRUE(RetrievalIndex().search("rice", 6).empty());
    const RetrievalIndex withoutHer({{"1", "Ravi", "rice", 0}}, kHer);
    EXPECT_TRUE(withoutHer.exchanges().empty());
    EXPECT_TRUE(withoutHer.search("rice", 6).empty());
    EXPECT_TRUE(withoutHer.onThisDay(0).empty());
}

TEST(RetrievalIndex, SearchMatchesPromptsAndRepliesAndNeedsARealToken) {
    const RetrievalIndex index(conversation({
                                   {"ate rice?", "yes kanna"},
                                   {"going out", "take an umbrella"},
                               }),
                               kHer);
    ASSERT_EQ(index.exchanges().size(), 2u);
    EXPECT_EQ(replies(index.search("did you eat rice", 6)),
              (std::vector<std::string>{"yes kanna"}));
    EXPECT_EQ(replies(index.search("Umbrella!", 6)),
              (std::vector<std::string>{"take an umbrella"}));
    EXPECT_TRUE(index.search("you and the", 6).empty());
    EXPECT_TRUE(index.search("nothing shared", 6).empty());
    EXPECT_TRUE(index.search("rice", 0).empty());
    EXPECT_TRUE(index.search("rice", -1).empty());
}

TEST(RetrievalIndex, WeightsAreLnOfExchangesOverDocumentFrequencyPlusOne) {
    const RetrievalIndex index(conversation({
                                   {"", "rice rice rice"},
                                   {"", "rice dal"},
                                   {"", "rice curd"},
                                   {"", "rice dal curd sambar"},
                               }),
                               kHer);
    EXPECT_DOUBLE_EQ(*index.weight("rice"), std::log(2.0));  // in every exchange: still counts
    EXPECT_DOUBLE_EQ(*index.weight("dal"), std::log(3.0));
    EXPECT_DOUBLE_EQ(*index.weight("sambar"), std::log(5.0));
    EXPECT_FALSE(index.weight("pizza"));
    EXPECT_FALSE(index.weight("the"));
}

TEST(RetrievalIndex, OneWordAndVeryLongRepliesAreDamped) {
    std::string sixtyWords = "rice";
    for (int i = 1; i < 60; ++i)
        sixtyWords += " x";  // one-letter words add no tokens
    const std::string sixtyOneWords = sixtyWords + " x";

    // Undamped, one token shared among one scores ln(N/df + 1) / 1 and beats / sqrt(2).
    const RetrievalIndex shortReply(conversation({{"", "rice"}, {"", "rice rice"}}), kHer);
    EXPECT_EQ(replies(shortReply.search("rice", 6)),
              (std::vector<std::string>{"rice rice", "rice"}));

    const RetrievalIndex sixty(conversation({{"", "rice ok"}, {"", sixtyWords}}), kHer);
    EXPECT_EQ(replies(sixty.search("rice", 1)), (std::vector<std::string>{sixtyWords}));
    const RetrievalIndex sixtyOne(conversation({{"", "rice ok"}, {"", sixtyOneWords}}), kHer);
    EXPECT_EQ(replies(sixtyOne.search("rice", 1)), (std::vector<std::string>{"rice ok"}));
}

TEST(RetrievalIndex, EqualScoresComeBackInArchiveOrder) {
    std::vector<ChatMessage> archive = conversation({
        {"", "eat now ma"},
        {"", "other thing entirely"},
        {"", "eat now ma"},
        {"", "ma now eat"},
    });
    const RetrievalIndex index(archive, kHer);
    const std::vector<Exchange> found = index.search("now eat ma", 6);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].id(), "R0");
    EXPECT_EQ(found[1].id(), "R2");
    EXPECT_EQ(found[2].id(), "R3");
    EXPECT_EQ(index.search("now eat ma", 2).back().id(), "R2");
}

TEST(RetrievalIndex, OnThisDayGivesEarlierYearsOnlyIncludingLeapDays) {
    auto at = [](int year, int month, int day, int hour) {
        return *LocalTime::fromCivil({year, month, day, hour, 0, 0});
    };
    std::vector<ChatMessage> archive = {
        {"a", kHer, "leap 2016", at(2016, 2, 29, 9)},
        {"b", kHer, "not a leap day", at(2017, 2, 28, 9)},
        {"c", kHer, "march", at(2017, 3, 1, 9)},
        {"d", "Ravi", "his, not hers", at(2018, 2, 28, 9)},
        {"e", kHer, "leap 2020 late evening", at(2020, 2, 29, 23)},
        {"f", kHer, "this year, earlier today", at(2024, 2, 29, 1)},
        {"g", kHer, "a later year", at(2028, 2, 29, 9)},
    };
    const RetrievalIndex index(archive, kHer);
    std::vector<std::string> texts;
    for (const auto& message : index.onThisDay(at(2024, 2, 29, 12)))
        texts.push_back(message.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"leap 2016", "leap 2020 late evening"}));
    EXPECT_TRUE(index.onThisDay(at(2016, 2, 29, 12)).empty());
}

// The index answers with posting lists and integer token ids; this is the algorithm as plainly
// written, to compare against. Weights are summed in the order of the query's token set.
class ReferenceSearch {
public:
    explicit ReferenceSearch(const std::vector<Exchange>& exchanges) : exchanges_(exchanges) {
        for (const auto& exchange : exchanges) {
            tokens_.push_back(
                RetrievalIndex::tokenize(exchange.prompt.value_or("") + " " + exchange.reply.text));
            for (const auto& token :
                 std::set<std::string>(tokens_.back().begin(), tokens_.back().end())) {
                ++documentFrequency_[token];
            }
        }
    }

    std::vector<std::string> search(const std::string& query, int limit) const {
        const double total = static_cast<double>(std::max<std::size_t>(exchanges_.size(), 1));
        const std::vector<std::string> queryTokens = RetrievalIndex::tokenize(query);
        const std::set<std::string> wanted(queryTokens.begin(), queryTokens.end());
        std::vector<std::pair<std::size_t, double>> kept;
        for (std::size_t i = 0; i < exchanges_.size(); ++i) {
            if (tokens_[i].empty())
                continue;
            double s = 0;
            for (const auto& token : wanted) {
                if (std::find(tokens_[i].begin(), tokens_[i].end(), token) != tokens_[i].end())
                    s += std::log(total / documentFrequency_.at(token) + 1);
            }
            if (s <= 0)
                continue;
            const std::size_t words = spaceWords(exchanges_[i].reply.text);
            if (words < 2)
                s *= 0.35;
            if (words > 60)
                s *= 0.6;
            s /= std::sqrt(static_cast<double>(tokens_[i].size()));
            kept.emplace_back(i, s);
        }
        std::stable_sort(kept.begin(), kept.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
        std::vector<std::string> ids;
        for (std::size_t k = 0; k < kept.size() && static_cast<int>(k) < limit; ++k)
            ids.push_back(exchanges_[kept[k].first].id());
        return ids;
    }

private:
    static std::size_t spaceWords(const std::string& text) {
        std::size_t words = 0;
        for (std::size_t p = 0; p < text.size(); ++p) {
            if (text[p] != ' ' && (p == 0 || text[p - 1] == ' '))
                ++words;
        }
        return words;
    }

    const std::vector<Exchange>& exchanges_;
    std::vector<std::vector<std::string>> tokens_;
    std::map<std::string, int> documentFrequency_;
};

TEST(RetrievalIndex, SearchEqualsThePlainAlgorithmOnAGeneratedArchive) {
    // A small vocabulary and short messages give many exact ties; some replies are one word, some
    // over 60, some have only stopwords, and some prompts are too old to count.
    const std::vector<std::string> vocabulary = {
        "rice",       "dal",   "ok",       "kanna",
        "eat",        "sleep", "office",   "the",
        "you",        "a",     "amma",     "Rice",
        "call",       "me",    "tomorrow", "\u0C05\u0C2E\u0C4D\u0C2E",
        "\U0001F64F", "2day",
    };
    std::mt19937 random(42);
    std::uniform_int_distribution<std::size_t> word(0, vocabulary.size() - 1);
    std::uniform_int_distribution<int> shortLength(1, 5), coin(0, 9);
    auto sentence = [&](int words) {
        std::string text;
        for (int i = 0; i < words; ++i)
            if (i > 0)
                text += ' ';
        text += vocabulary[word(random)];
        return text;
    };
    std::vector<ChatMessage> archive;
    Timestamp at = 1'500'000'000;
    for (int i = 0; i < 3000; ++i) {
        const bool hers = coin(random) < 6;
        const int words = coin(random) == 0 ? 61 + coin(random) : shortLength(random);
        archive.push_back({std::to_string(i), hers ? kHer : "Ravi", sentence(words), at});
        at += coin(random) == 0 ? 30'000 : 120;
    }
    const RetrievalIndex index(archive, kHer);
    ASSERT_GT(index.exchanges().size(), 1000u);
    const ReferenceSearch reference(index.exchanges());

    for (int q = 0; q < 300; ++q) {
        const std::string query = sentence(shortLength(random));
        for (const int limit : {1, 6, 100000}) {
            std::vector<std::string> ids;
            for (const auto& exchange : index.search(query, limit))
                ids.push_back(exchange.id());
            ASSERT_EQ(ids, reference.search(query, limit))
                << "query \"" << query << "\" limit " << limit;
        }
    }
}

}  // namespace
}  // namespace lumenary
