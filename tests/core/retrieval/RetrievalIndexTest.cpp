#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "retrieval/RetrievalIndex.h"
#include "text/TextRules.h"

namespace lumenary {
namespace {

const std::string kHer = "Amma";

// Pairs of (prompt, reply) one minute apart, an hour between pairs; a missing prompt is written
// as an empty text and becomes a message of hers with nothing before it.
std::vector<ChatMessage> conversation(
    const std::vector<std::pair<std::string, std::string>>& pairs) {
    std::vector<ChatMessage> archive;
    Timestamp at = 1'600'000'000;
    int next = 0;
    for (const auto& [prompt, reply] : pairs) {
        if (!prompt.empty())
            archive.push_back({testing::labelledId(testing::numbered("P", next)), "Ravi", prompt, at});
        archive.push_back({testing::labelledId(testing::numbered("R", next++)), kHer, reply, at + 60});
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

// ASCII text is tokenized in one pass of its own; it must agree with the shared text rules.
TEST(RetrievalIndex, TokensAreLowercasedRunsOfTwoCharactersOrMoreWithoutStopwords) {
    EXPECT_EQ(RetrievalIndex::tokenize("Is it OK? you and the, a I \u00E9 \u00C9t\u00E9"),
              (std::vector<std::string>{"is", "it", "ok", "\u00E9t\u00E9"}));
    const std::vector<std::string> pieces = {
        "Rice", "a",      "ZZ",         "09", " ", "!", "'", "\r\n", "\t",  "the",
        "WITH", "\u00C9", "\U0001F64F", "@",  "_", "[", "`", "{",    "\x7F"};
    std::mt19937 random(5);
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
    std::uniform_int_distribution<int> length(0, 10);
    for (int n = 0; n < 5000; ++n) {
        std::string s;
        for (int i = length(random); i > 0; --i)
            s += pieces[pick(random)];
        std::vector<std::string> expected;
        const std::string lowered = text::lowercase(s);
        for (const std::string_view run : text::letterOrNumberRuns(lowered)) {
            if (text::characterCount(run) >= 2 && run != "the" && run != "with") {
                expected.emplace_back(run);
            }
        }
        ASSERT_EQ(RetrievalIndex::tokenize(s), expected) << s;
    }
}

TEST(RetrievalIndex, SearchMatchesPromptsAndRepliesAndNeedsARealToken) {
    EXPECT_TRUE(RetrievalIndex().search("rice", 6).empty());
    const std::vector<ChatMessage> hisOnly = {{testing::labelledId("1"), "Ravi", "rice", 0}};
    EXPECT_EQ(RetrievalIndex(hisOnly, kHer).exchangeCount(), 0u);

    const std::vector<ChatMessage> archive = conversation({
        {"ate rice?", "yes kanna"},
        {"going out", "take an umbrella"},
    });
    const RetrievalIndex index(archive, kHer);
    EXPECT_EQ(index.exchanges(), pairExchanges(archive, kHer));
    EXPECT_EQ(index.exchange(1).reply, archive[3]);
    EXPECT_EQ(replies(index.search("did you eat rice", 6)),
              (std::vector<std::string>{"yes kanna"}));
    EXPECT_EQ(replies(index.search("Umbrella!", 6)),
              (std::vector<std::string>{"take an umbrella"}));
    EXPECT_TRUE(index.search("you and the", 6).empty());
    EXPECT_TRUE(index.search("nothing shared", 6).empty());
    EXPECT_TRUE(index.search("rice", 0).empty());
}

TEST(RetrievalIndex, WeightsAreLnOfExchangesOverDocumentFrequencyPlusOne) {
    const std::vector<ChatMessage> archive = conversation({
        {"", "rice rice rice"},
        {"", "rice dal"},
        {"", "rice curd"},
        {"", "rice dal curd sambar"},
    });
    const RetrievalIndex index(archive, kHer);
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
    const std::vector<ChatMessage> oneWord = conversation({{"", "rice"}, {"", "rice rice"}});
    const RetrievalIndex shortReply(oneWord, kHer);
    EXPECT_EQ(replies(shortReply.search("rice", 6)),
              (std::vector<std::string>{"rice rice", "rice"}));

    const std::vector<ChatMessage> sixtyArchive = conversation({{"", "rice ok"}, {"", sixtyWords}});
    const RetrievalIndex sixty(sixtyArchive, kHer);
    EXPECT_EQ(replies(sixty.search("rice", 1)), (std::vector<std::string>{sixtyWords}));
    const std::vector<ChatMessage> sixtyOneArchive =
        conversation({{"", "rice ok"}, {"", sixtyOneWords}});
    const RetrievalIndex sixtyOne(sixtyOneArchive, kHer);
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
    EXPECT_EQ(found[0].id(), testing::labelledId("R0"));
    EXPECT_EQ(found[1].id(), testing::labelledId("R2"));
    EXPECT_EQ(found[2].id(), testing::labelledId("R3"));
    EXPECT_EQ(index.search("now eat ma", 2).back().id(), testing::labelledId("R2"));
}

TEST(RetrievalIndex, OnThisDayGivesEarlierYearsOnlyIncludingLeapDays) {
    auto at = [](int year, int month, int day, int hour) {
        return *LocalTime::fromCivil({year, month, day, hour, 0, 0});
    };
    std::vector<ChatMessage> archive = {
        {testing::labelledId("a"), kHer, "leap 2016", at(2016, 2, 29, 9)},
        {testing::labelledId("b"), kHer, "not a leap day", at(2017, 2, 28, 9)},
        {testing::labelledId("c"), kHer, "march", at(2017, 3, 1, 9)},
        {testing::labelledId("d"), "Ravi", "his, not hers", at(2018, 2, 28, 9)},
        {testing::labelledId("e"), kHer, "leap 2020 late evening", at(2020, 2, 29, 23)},
        {testing::labelledId("f"), kHer, "this year, earlier today", at(2024, 2, 29, 1)},
        {testing::labelledId("g"), kHer, "a later year", at(2028, 2, 29, 9)},
    };
    const RetrievalIndex index(archive, kHer);
    std::vector<std::string> texts;
    for (const auto& message : index.onThisDay(at(2024, 2, 29, 12)))
        texts.push_back(message.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"leap 2016", "leap 2020 late evening"}));
    EXPECT_TRUE(index.onThisDay(at(2016, 2, 29, 12)).empty());
}

// The index ranks exchanges, walks them in chunks and stops early; this is the algorithm as
// plainly written, to compare against: score every exchange, sort stably, cut. Weights are added
// in the order of the query's token set, exchange by exchange.
class ReferenceSearch {
public:
    explicit ReferenceSearch(const std::vector<Exchange>& exchanges) : exchanges_(exchanges) {
        for (std::size_t i = 0; i < exchanges.size(); ++i) {
            const std::vector<std::string> tokens = RetrievalIndex::tokenize(
                exchanges[i].prompt.value_or("") + " " + exchanges[i].reply.text);
            tokenCounts_.push_back(tokens.size());
            for (const auto& token : std::set<std::string>(tokens.begin(), tokens.end())) {
                holders_[token].push_back(i);
            }
        }
    }

    std::vector<std::string> search(const std::string& query, int limit) const {
        const double total = static_cast<double>(std::max<std::size_t>(exchanges_.size(), 1));
        const std::vector<std::string> queryTokens = RetrievalIndex::tokenize(query);
        std::vector<double> shared(exchanges_.size(), 0.0);
        for (const auto& token : std::set<std::string>(queryTokens.begin(), queryTokens.end())) {
            const auto holders = holders_.find(token);
            if (holders == holders_.end())
                continue;
            const double weight = std::log(total / static_cast<double>(holders->second.size()) + 1);
            for (const std::size_t i : holders->second)
                shared[i] += weight;
        }
        std::vector<std::pair<std::size_t, double>> kept;
        for (std::size_t i = 0; i < exchanges_.size(); ++i) {
            double s = shared[i];
            if (tokenCounts_[i] == 0 || s <= 0)
                continue;
            const std::size_t words = spaceWords(exchanges_[i].reply.text);
            if (words < 2)
                s *= 0.35;
            if (words > 60)
                s *= 0.6;
            s /= std::sqrt(static_cast<double>(tokenCounts_[i]));
            kept.emplace_back(i, s);
        }
        std::stable_sort(kept.begin(), kept.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
        std::vector<std::string> ids;
        for (std::size_t k = 0; k < kept.size() && static_cast<int>(k) < limit; ++k) {
            ids.push_back(exchanges_[kept[k].first].id().text());
        }
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
    std::vector<std::size_t> tokenCounts_;
    std::map<std::string, std::vector<std::size_t>> holders_;
};

TEST(RetrievalIndex, SearchEqualsThePlainAlgorithmOnAGeneratedArchive) {
    // A small common vocabulary and short messages give many exact ties; rarer words spread the
    // scores so a search can stop early. Some replies are one word, some over 60, some have only
    // stopwords, and some prompts are too old to count. The archive spans several chunks of the
    // index's walk, and some queries hold more distinct tokens than its bit masks.
    const std::vector<std::string> common = {
        "rice",       "dal",   "ok",       "kanna",
        "eat",        "sleep", "office",   "the",
        "you",        "a",     "amma",     "Rice",
        "call",       "me",    "tomorrow", "\u0C05\u0C2E\u0C4D\u0C2E",
        "\U0001F64F", "2day",
    };
    std::mt19937 random(42);
    std::uniform_int_distribution<std::size_t> commonWord(0, common.size() - 1);
    std::uniform_int_distribution<int> rareWord(0, 199), shortLength(1, 6), percent(0, 99);
    auto sentence = [&](int words) {
        std::string text;
        for (int i = 0; i < words; ++i) {
            if (i > 0)
                text += ' ';
            text +=
                percent(random) < 15 ? testing::numbered("r", rareWord(random)) : common[commonWord(random)];
        }
        return text;
    };
    std::vector<ChatMessage> archive;
    Timestamp at = 1'500'000'000;
    for (int i = 0; i < 24'000; ++i) {
        const bool hers = percent(random) < 60;
        const int words = percent(random) < 5 ? 61 + percent(random) % 3 : shortLength(random);
        archive.push_back({testing::labelledId(std::to_string(i)), hers ? kHer : "Ravi", sentence(words), at});
        at += percent(random) < 10 ? 30'000 : 120;
    }
    const RetrievalIndex index(archive, kHer);
    ASSERT_GT(index.exchanges().size(), 12'000u);  // three chunks and more
    const ReferenceSearch reference(index.exchanges());

    for (int q = 0; q < 60; ++q) {
        // Mostly short queries; every tenth holds about 80 distinct rare words.
        const std::string query = q % 10 == 9 ? sentence(400) : sentence(shortLength(random));
        for (const int limit : {1, 6, 100'000}) {
            std::vector<std::string> ids;
            for (const auto& exchange : index.search(query, limit))
                ids.push_back(exchange.id().text());
            ASSERT_EQ(ids, reference.search(query, limit))
                << "query \"" << query << "\" limit " << limit;
        }
    }
}

}  // namespace
}  // namespace lumenary
