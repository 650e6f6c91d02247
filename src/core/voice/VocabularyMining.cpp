#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "text/TextRules.h"
#include "voice/CountingTable.h"
#include "voice/PersonaBuilder.h"
#include "voice/VocabularyCounting.h"

namespace lumenary {
namespace {

constexpr std::size_t kMaxVocatives = 4;
constexpr std::size_t kMaxPhrases = 8;
constexpr std::size_t kMaxTopics = 10;
constexpr std::size_t kMaxPeople = 6;

// A phrase, topic or name seen fewer times than this is chance, not habit. Endearments have no
// floor: one "kanna" in a whole archive still says what she called you.
constexpr long long kMinimumRecurrence = 3;

// Shorter phrases ("i am", "ok da") are filler that every chat repeats.
constexpr std::size_t kMinPhraseCharacters = 7;
// Shorter words are mostly function words in any language written in Latin letters.
constexpr std::size_t kMinTopicCharacters = 4;
// Names shorter than 3 characters are initials or interjections; longer than 14, not names.
constexpr std::size_t kMinNameCharacters = 3;
constexpr std::size_t kMaxNameCharacters = 14;

constexpr std::array<std::string_view, 15> kEndearments = {
    "ra", "nanna", "kanna", "bujji", "beta", "kanda", "amma", "chinna",
    "papa", "baby", "da", "ma", "kanmani", "chellam", "putta"};

// "its" appears twice; only the set matters.
constexpr std::array<std::string_view, 31> kTopicStopwords = {
    "the",  "and",  "you",  "are",  "for",   "was",  "not",  "but",  "with", "that", "this",
    "have", "has",  "will", "your", "its",   "our",  "can",  "did",  "does", "what", "when",
    "how",  "there", "then", "okay", "yes",  "no",   "ok",   "iam",  "its"};

const std::unordered_set<std::string_view>& topicStopwords() {
    static const std::unordered_set<std::string_view> set(kTopicStopwords.begin(),
                                                          kTopicStopwords.end());
    return set;
}

std::vector<std::string> firstKeys(const std::vector<std::pair<std::string, long long>>& ranked,
                                   std::size_t limit) {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < std::min(limit, ranked.size()); ++i) keys.push_back(ranked[i].first);
    return keys;
}

// The first code point of `s`, U+FFFD when it does not decode. The names rule tests the case
// properties of a character's first code point only, so a full decode is not needed.
UChar32 firstCodePoint(std::string_view s) {
    if (s.empty()) return 0xFFFD;
    int32_t i = 0;
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(s.data()), i, static_cast<int32_t>(s.size()), c);
    return c < 0 ? 0xFFFD : c;
}

bool hasProperty(std::string_view character, UProperty property) {
    return u_hasBinaryProperty(firstCodePoint(character), property) != 0;
}

// A word that reads as a person's name: 3–14 characters, one capital and then only lowercase
// letters, so "RAVI", "McDonald", "Ravi's" and "R2D2" are not names.
bool isName(std::string_view word) {
    const std::string_view trimmed = text::trimPunctuation(word);
    // Most words fail here, before the cost of cutting them into characters.
    if (trimmed.size() < kMinNameCharacters || !hasProperty(trimmed, UCHAR_UPPERCASE)) {
        return false;
    }
    const std::vector<std::string_view> characters = text::characters(trimmed);
    if (characters.size() < kMinNameCharacters || characters.size() > kMaxNameCharacters) {
        return false;
    }
    return std::all_of(characters.begin() + 1, characters.end(),
                       [](std::string_view c) { return hasProperty(c, UCHAR_LOWERCASE); });
}

}  // namespace

namespace VocabularyCounting {

void countVocatives(const std::vector<std::string_view>& lowercaseLetterRuns,
                    CountingTable& table) {
    for (const std::string_view run : lowercaseLetterRuns) {
        if (std::find(kEndearments.begin(), kEndearments.end(), run) != kEndearments.end()) {
            table.add(run);
        }
    }
}

void countPhrases(const std::vector<std::string_view>& lowercaseTokens, CountingTable& table,
                  std::string& scratch) {
    const std::size_t tokenCount = lowercaseTokens.size();
    if (tokenCount < 2) return;
    for (std::size_t n = 2; n <= 3 && n <= tokenCount; ++n) {
        for (std::size_t start = 0; start + n <= tokenCount; ++start) {
            scratch.assign(lowercaseTokens[start]);
            for (std::size_t k = 1; k < n; ++k) {
                scratch += ' ';
                scratch += lowercaseTokens[start + k];
            }
            // A character takes at least one byte, so a short byte length settles it cheaply.
            if (scratch.size() < kMinPhraseCharacters ||
                text::characterCount(scratch) < kMinPhraseCharacters) {
                continue;
            }
            table.add(scratch);
        }
    }
}

void tallyTopicWords(const std::vector<std::string_view>& lowercaseLetterRuns,
                     CountingTable& table) {
    const auto& stopwords = topicStopwords();
    for (const std::string_view run : lowercaseLetterRuns) {
        if (run.size() < kMinTopicCharacters ||
            text::characterCount(run) < kMinTopicCharacters || stopwords.count(run) != 0) {
            continue;
        }
        table.add(run);
    }
}

CountingTable topicTally(const std::vector<const ChatMessage*>& messages) {
    CountingTable table;
    for (const ChatMessage* message : messages) {
        const std::string lower = text::lowercase(message->text);
        tallyTopicWords(text::letterRuns(lower), table);
    }
    return table;
}

void countPeople(std::string_view messageText, CountingTable& table) {
    const std::vector<std::string_view> words = text::spaceWords(messageText);
    // A capital at the start of a message says nothing about a name.
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (isName(words[i])) table.add(text::trimPunctuation(words[i]));
    }
}

std::vector<const ChatMessage*> otherSide(const PersonaBuilder::HerMessages& her,
                                          const std::vector<ChatMessage>& all) {
    std::unordered_set<std::string_view> herIds;
    herIds.reserve(her.size());
    for (const ChatMessage* message : her) herIds.insert(message->id);
    std::vector<const ChatMessage*> others;
    for (const ChatMessage& message : all) {
        if (herIds.count(message.id) == 0) others.push_back(&message);
    }
    return others;
}

std::vector<std::string> rankVocatives(const CountingTable& table) {
    return firstKeys(text::rankByCount(table), kMaxVocatives);
}

std::vector<std::string> rankPhrases(const CountingTable& table) {
    return firstKeys(text::rankByCount(table.keepingAtLeast(kMinimumRecurrence)), kMaxPhrases);
}

std::vector<std::string> rankTopics(const CountingTable& herTally, const CountingTable& otherTally) {
    const double total = std::max<double>(static_cast<double>(herTally.total()), 1.0);
    // Squaring her share favours what she says often; dividing by the other side's count pushes
    // down what both sides say alike.
    std::vector<std::pair<std::string, double>> scored;
    for (const auto& [word, count] : herTally) {
        if (count < kMinimumRecurrence) continue;
        const long long other = otherTally.count(word);
        const double c = static_cast<double>(count);
        const double o = other > 0 ? static_cast<double>(other) : 1.0;
        scored.emplace_back(word, (c / total) * (c / o));
    }
    // Ranked like text::rankByCount, but on a double score: equal scores keep the table's order.
    std::stable_sort(scored.begin(), scored.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    std::vector<std::string> words;
    for (std::size_t i = 0; i < std::min(kMaxTopics, scored.size()); ++i) {
        words.push_back(scored[i].first);
    }
    return words;
}

std::vector<std::string> rankPeople(const CountingTable& table) {
    return firstKeys(text::rankByCount(table.keepingAtLeast(kMinimumRecurrence)), kMaxPeople);
}

}  // namespace VocabularyCounting

namespace PersonaBuilder {

std::vector<std::string> mineVocatives(const HerMessages& her) {
    CountingTable table;
    for (const ChatMessage* message : her) {
        const std::string lower = text::lowercase(message->text);
        VocabularyCounting::countVocatives(text::letterRuns(lower), table);
    }
    return VocabularyCounting::rankVocatives(table);
}

std::vector<std::string> minePhrases(const HerMessages& her) {
    CountingTable table;
    std::string scratch;
    for (const ChatMessage* message : her) {
        const std::string lower = text::lowercase(message->text);
        VocabularyCounting::countPhrases(text::letterOrNumberRuns(lower), table, scratch);
    }
    return VocabularyCounting::rankPhrases(table);
}

std::vector<std::string> mineTopics(const HerMessages& her, const std::vector<ChatMessage>& all) {
    using namespace VocabularyCounting;
    return rankTopics(topicTally(her), topicTally(otherSide(her, all)));
}

std::vector<std::string> minePeople(const HerMessages& her) {
    CountingTable table;
    for (const ChatMessage* message : her) VocabularyCounting::countPeople(message->text, table);
    return VocabularyCounting::rankPeople(table);
}

std::string list(const std::vector<std::string>& items) {
    if (items.empty()) return {};
    std::string joined = items.front();
    for (std::size_t i = 1; i < items.size(); ++i) {
        joined += i + 1 == items.size() ? " and " : ", ";
        joined += items[i];
    }
    return joined;
}

}  // namespace PersonaBuilder
}  // namespace lumenary
