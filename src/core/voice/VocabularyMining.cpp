#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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

// Shorter words are mostly function words in any language written in Latin letters.
constexpr std::size_t kMinTopicCharacters = 4;
// Names shorter than 3 characters are initials or interjections; longer than 14, not names.
constexpr std::size_t kMinNameCharacters = 3;
constexpr std::size_t kMaxNameCharacters = 14;

constexpr std::array<std::string_view, 15> kEndearments = {
    "ra",   "nanna", "kanna", "bujji", "beta",    "kanda",   "amma", "chinna",
    "papa", "baby",  "da",    "ma",    "kanmani", "chellam", "putta"};

// "its" appears twice; only the set matters.
constexpr std::array<std::string_view, 31> kTopicStopwords = {
    "the",  "and",   "you",  "are",  "for", "was", "not", "but", "with", "that", "this",
    "have", "has",   "will", "your", "its", "our", "can", "did", "does", "what", "when",
    "how",  "there", "then", "okay", "yes", "no",  "ok",  "iam", "its"};

// A small set of short words, each held as one integer in a sparse hash array: these sets are
// asked about every word of every message, and most words are settled by one empty slot.
class ShortWordSet {
public:
    static constexpr std::size_t kLongest = sizeof(std::uint64_t);

    /// Words longer than kLongest bytes, or empty, are never members.
    explicit ShortWordSet(const std::vector<std::string_view>& words) {
        while (slots_.size() < words.size() * 4)
            slots_.resize(slots_.size() * 2);
        for (const std::string_view word : words) {
            if (word.empty() || word.size() > kLongest)
                continue;
            slots_[find(pack(word), word.size())] = Slot{pack(word), word.size()};
        }
    }
    bool contains(std::string_view word) const {
        if (word.empty() || word.size() > kLongest)
            return false;
        return slots_[find(pack(word), word.size())].size != 0;
    }

private:
    struct Slot {
        std::uint64_t packed = 0;
        std::size_t size = 0;  // 0 marks an empty slot
    };
    static std::uint64_t pack(std::string_view word) { return packBytes(word); }
    // The slot holding the word, or the empty slot where it would go.
    std::size_t find(std::uint64_t packed, std::size_t size) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = static_cast<std::size_t>((packed * 0x9E3779B97F4A7C15ull) >> 40) & mask;
        while (slots_[slot].size != 0 &&
               (slots_[slot].packed != packed || slots_[slot].size != size)) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }
    std::vector<Slot> slots_ = std::vector<Slot>(64);
};

constexpr bool allShort(const auto& words) {
    return std::all_of(words.begin(), words.end(),
                       [](std::string_view w) { return w.size() <= ShortWordSet::kLongest; });
}
static_assert(allShort(kEndearments) && allShort(kTopicStopwords));

const ShortWordSet& endearments() {
    static const ShortWordSet set({kEndearments.begin(), kEndearments.end()});
    return set;
}

// Only stopwords long enough to be topics can ever match.
const ShortWordSet& effectiveStopwords() {
    static const ShortWordSet set = [] {
        std::vector<std::string_view> kept;
        for (const std::string_view word : kTopicStopwords) {
            if (text::characterCount(word) >= kMinTopicCharacters)
                kept.push_back(word);
        }
        return ShortWordSet(kept);
    }();
    return set;
}

// The ids of her messages, as a flat array of hash tags and message numbers: the other side of a
// long chat is hundreds of thousands of lookups, most of which meet an empty slot.
class IdSet {
public:
    explicit IdSet(const PersonaBuilder::HerMessages& her) : her_(her) {
        std::size_t size = 16;
        while (size < her.size() * 2) size *= 2;
        slots_.resize(size);
        for (std::size_t i = 0; i < her.size(); ++i) {
            const std::uint64_t hash = hashOf(her[i]->id);
            const std::size_t slot = find(her[i]->id, hash);
            if (slots_[slot].herPlusOne == 0) {
                slots_[slot] = Slot{tagOf(hash), static_cast<std::uint32_t>(i + 1)};
            }
        }
    }
    bool contains(const Uuid& id) const { return slots_[find(id, hashOf(id))].herPlusOne != 0; }

private:
    struct Slot {
        std::uint32_t tag = 0;
        std::uint32_t herPlusOne = 0;  // 0 marks an empty slot
    };
    static std::uint64_t hashOf(const Uuid& id) { return id.high ^ (id.low * 0x9E3779B97F4A7C15ULL); }
    static std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 32); }
    // The slot holding `id`, or the empty slot where it would go.
    std::size_t find(const Uuid& id, std::uint64_t hash) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = static_cast<std::size_t>(hash) & mask;
        while (slots_[slot].herPlusOne != 0 &&
               (slots_[slot].tag != tagOf(hash) || her_[slots_[slot].herPlusOne - 1]->id != id)) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }
    const PersonaBuilder::HerMessages& her_;
    std::vector<Slot> slots_;
};

// Case properties of the ASCII characters, read from ICU once: most words are ASCII.
struct AsciiCase {
    bool upper = false;
    bool lower = false;
};
const std::array<AsciiCase, 128>& asciiCase() {
    static const std::array<AsciiCase, 128> table = [] {
        std::array<AsciiCase, 128> t{};
        for (UChar32 c = 0; c < 128; ++c) {
            t[static_cast<std::size_t>(c)] = {u_hasBinaryProperty(c, UCHAR_UPPERCASE) != 0,
                                              u_hasBinaryProperty(c, UCHAR_LOWERCASE) != 0};
        }
        return t;
    }();
    return table;
}

std::vector<std::string> firstKeys(const std::vector<std::pair<std::string, long long>>& ranked,
                                   std::size_t limit) {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < std::min(limit, ranked.size()); ++i)
        keys.push_back(ranked[i].first);
    return keys;
}

// The first code point of `s`, U+FFFD when it does not decode. The names rule tests the case
// properties of a character's first code point only, so a full decode is not needed.
UChar32 firstCodePoint(std::string_view s) {
    if (s.empty())
        return 0xFFFD;
    int32_t i = 0;
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(s.data()), i, static_cast<int32_t>(s.size()), c);
    return c < 0 ? 0xFFFD : c;
}

bool hasProperty(std::string_view character, UProperty property) {
    if (!character.empty() && static_cast<unsigned char>(character.front()) < 0x80) {
        const AsciiCase& known = asciiCase()[static_cast<unsigned char>(character.front())];
        return property == UCHAR_UPPERCASE ? known.upper : known.lower;
    }
    return u_hasBinaryProperty(firstCodePoint(character), property) != 0;
}

// The word without its surrounding punctuation, when that reads as a person's name: 3–14
// characters, one capital and then only lowercase letters, so "RAVI", "McDonald", "Ravi's" and
// "R2D2" are not names.
std::optional<std::string_view> nameIn(std::string_view word) {
    // Most words start with a lowercase ASCII letter. Trimming never removes a letter, so such a
    // word can never start with a capital: skip the cost of trimming it.
    if (!word.empty() && static_cast<unsigned char>(word.front()) < 0x80 &&
        asciiCase()[static_cast<unsigned char>(word.front())].lower) {
        return std::nullopt;
    }
    const std::string_view trimmed = text::trimPunctuation(word);
    if (trimmed.size() < kMinNameCharacters || !hasProperty(trimmed, UCHAR_UPPERCASE)) {
        return std::nullopt;
    }
    const std::vector<std::string_view> characters = text::characters(trimmed);
    if (characters.size() < kMinNameCharacters || characters.size() > kMaxNameCharacters ||
        !std::all_of(characters.begin() + 1, characters.end(),
                     [](std::string_view c) { return hasProperty(c, UCHAR_LOWERCASE); })) {
        return std::nullopt;
    }
    return trimmed;
}

}  // namespace

namespace VocabularyCounting {

void countVocatives(const std::vector<std::string_view>& lowercaseLetterRuns,
                    CountingTable& table) {
    const ShortWordSet& known = endearments();
    for (const std::string_view run : lowercaseLetterRuns) {
        if (known.contains(run))
            table.add(run);
    }
}

void tallyTopicWords(const std::vector<std::string_view>& lowercaseLetterRuns,
                     CountingTable& table) {
    const auto& stopwords = effectiveStopwords();
    for (const std::string_view run : lowercaseLetterRuns) {
        if (run.size() < kMinTopicCharacters || text::characterCount(run) < kMinTopicCharacters ||
            stopwords.contains(run)) {
            continue;
        }
        table.add(run);
    }
}

CountingTable topicTally(const std::vector<const ChatMessage*>& messages) {
    CountingTable table;
    std::string lower;
    std::vector<std::string_view> runs;
    for (const ChatMessage* message : messages) {
        text::lowercase(message->text, lower);
        text::letterRuns(lower, runs);
        tallyTopicWords(runs, table);
    }
    return table;
}

void countPeople(const std::vector<std::string_view>& words, CountingTable& table) {
    // A capital at the start of a message says nothing about a name.
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (const auto name = nameIn(words[i]))
            table.add(*name);
    }
}

std::vector<const ChatMessage*> otherSide(const PersonaBuilder::HerMessages& her,
                                          const std::vector<ChatMessage>& all) {
    const IdSet herIds(her);
    std::vector<const ChatMessage*> others;
    std::size_t nextOfHers = 0;
    for (const ChatMessage& message : all) {
        // Her messages usually point into `all` in the same order: those need no lookup.
        if (nextOfHers < her.size() && her[nextOfHers] == &message) {
            ++nextOfHers;
            continue;
        }
        if (!herIds.contains(message.id))
            others.push_back(&message);
    }
    return others;
}

std::vector<std::string> rankVocatives(const CountingTable& table) {
    return firstKeys(text::rankByCount(table), kMaxVocatives);
}

std::vector<std::string> rankPhrases(PhraseCounter& counter) {
    return firstKeys(text::rankByCount(counter.atLeast(kMinimumRecurrence, kMaxPhrases)),
                     kMaxPhrases);
}

std::vector<std::string> rankTopics(const CountingTable& herTally,
                                    const CountingTable& otherTally) {
    const double total = std::max<double>(static_cast<double>(herTally.total()), 1.0);
    // Squaring her share favours what she says often; dividing by the other side's count pushes
    // down what both sides say alike.
    std::vector<std::pair<std::string, double>> scored;
    for (const auto& [word, count] : herTally) {
        if (count < kMinimumRecurrence)
            continue;
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
    VocabularyCounting::PhraseCounter counter;
    for (const ChatMessage* message : her) {
        const std::string lower = text::lowercase(message->text);
        counter.add(text::letterOrNumberRuns(lower));
    }
    return VocabularyCounting::rankPhrases(counter);
}

std::vector<std::string> mineTopics(const HerMessages& her, const std::vector<ChatMessage>& all) {
    using namespace VocabularyCounting;
    return rankTopics(topicTally(her), topicTally(otherSide(her, all)));
}

std::vector<std::string> minePeople(const HerMessages& her) {
    CountingTable table;
    for (const ChatMessage* message : her) {
        VocabularyCounting::countPeople(text::spaceWords(message->text), table);
    }
    return VocabularyCounting::rankPeople(table);
}

std::string list(const std::vector<std::string>& items) {
    if (items.empty())
        return {};
    std::string joined = items.front();
    for (std::size_t i = 1; i < items.size(); ++i) {
        joined += i + 1 == items.size() ? " and " : ", ";
        joined += items[i];
    }
    return joined;
}

}  // namespace PersonaBuilder
}  // namespace lumenary
