#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/TextRules.h"
#include "voice/CountingTable.h"
#include "voice/VocabularyCounting.h"

namespace lumenary::VocabularyCounting {
namespace {

// Shorter phrases ("i am", "ok da") are filler that every chat repeats.
constexpr std::size_t kMinPhraseCharacters = 7;

// 1024 partitions keep each one's pair counts within the processor's cache; pending pairs are
// counted every million, so they never hold more than a few megabytes.
constexpr int kPartitionBits = 10;
constexpr std::size_t kPartitions = std::size_t{1} << kPartitionBits;
constexpr std::size_t kPendingLimit = std::size_t{1} << 20;
constexpr std::size_t kBlockTokens = std::size_t{1} << 16;

std::uint64_t mix(std::uint64_t x) {
    // The splitmix64 finaliser: every input bit reaches the high bits that pick the partition.
    x ^= x >> 30;
    x *= 0xBF58476D1CE4E5B9ull;
    x ^= x >> 27;
    x *= 0x94D049BB133111EBull;
    x ^= x >> 31;
    return x;
}

std::size_t shortSlotOf(std::uint64_t packed, std::size_t slots) {
    return static_cast<std::size_t>(mix(packed)) & (slots - 1);
}

std::uint64_t pairKey(std::uint32_t first, std::uint32_t second) {
    return ((std::uint64_t{first} + 1) << 32) | (std::uint64_t{second} + 1);
}

std::size_t partitionOf(std::uint64_t key) {
    return static_cast<std::size_t>(mix(key) >> (64 - kPartitionBits));
}

using PairCounts = PhraseCounter::PairCounts;

// The slot of `key` in `table`, or the empty slot where it would go.
std::size_t slotOf(const PairCounts& table, std::uint64_t key) {
    const std::size_t mask = table.keys.size() - 1;
    std::size_t slot = static_cast<std::size_t>(mix(key)) & mask;
    while (table.keys[slot] != 0 && table.keys[slot] != key)
        slot = (slot + 1) & mask;
    return slot;
}

void addPair(PairCounts& table, std::uint64_t key, std::uint32_t amount) {
    if ((table.size + 1) * 2 > table.keys.size()) {
        PairCounts bigger;
        bigger.keys.assign(std::max<std::size_t>(16, table.keys.size() * 2), 0);
        bigger.counts.assign(bigger.keys.size(), 0);
        for (std::size_t i = 0; i < table.keys.size(); ++i) {
            if (table.keys[i] != 0)
                addPair(bigger, table.keys[i], table.counts[i]);
        }
        table = std::move(bigger);
    }
    const std::size_t slot = slotOf(table, key);
    if (table.keys[slot] == 0) {
        table.keys[slot] = key;
        ++table.size;
    }
    table.counts[slot] += amount;
}

std::uint32_t countOf(const PairCounts& table, std::uint64_t key) {
    if (table.keys.empty())
        return 0;
    const std::size_t slot = slotOf(table, key);
    return table.keys[slot] == 0 ? 0 : table.counts[slot];
}

// A counted phrase of two or three tokens.
struct Phrase {
    std::uint32_t numbers[3];
    std::size_t tokens;
    long long count;
    std::uint64_t firstUse;  // ordinalOf + 1; 0 until seen
};

// Three-token phrases by their token numbers: an open-addressing array of indices into a list.
class TripleIndex {
public:
    // The phrase with these numbers in `phrases`, added with count 0 when new.
    Phrase& find(std::vector<Phrase>& phrases, const std::uint32_t (&numbers)[3]) {
        if ((phrases.size() + 1) * 2 > slots_.size()) {
            slots_.assign(std::max<std::size_t>(16, slots_.size() * 2), 0);
            for (std::size_t i = 0; i < phrases.size(); ++i)
                slots_[emptySlot(phrases[i].numbers)] = static_cast<std::uint32_t>(i + 1);
        }
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = hashOf(numbers) & mask;
        for (; slots_[slot] != 0; slot = (slot + 1) & mask) {
            Phrase& seen = phrases[slots_[slot] - 1];
            if (std::equal(seen.numbers, seen.numbers + 3, numbers))
                return seen;
        }
        phrases.push_back(Phrase{{numbers[0], numbers[1], numbers[2]}, 3, 0, 0});
        slots_[slot] = static_cast<std::uint32_t>(phrases.size());
        return phrases.back();
    }

private:
    static std::size_t hashOf(const std::uint32_t (&numbers)[3]) {
        return static_cast<std::size_t>(mix(pairKey(numbers[0], numbers[1])) ^
                                        mix(std::uint64_t{numbers[2]} + 1));
    }
    std::size_t emptySlot(const std::uint32_t (&numbers)[3]) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = hashOf(numbers) & mask;
        while (slots_[slot] != 0)
            slot = (slot + 1) & mask;
        return slot;
    }
    std::vector<std::uint32_t> slots_;
};

// Where a phrase first occurs: the message, then two-token phrases before three-token ones, then
// the position, as a CountingTable fed message by message would first meet it.
std::uint64_t ordinalOf(std::size_t message, std::size_t tokens, std::size_t start) {
    return (std::uint64_t{message} << 32) | (std::uint64_t{tokens == 3} << 31) | start;
}

}  // namespace

PhraseCounter::PhraseCounter() : pendingPairs_(kPartitions), pairCounts_(kPartitions) {}

std::uint32_t PhraseCounter::tokenNumber(std::string_view token) {
    constexpr std::size_t kShort = sizeof(std::uint64_t);
    if (token.empty() || token.size() > kShort) {
        const std::size_t entry = longTokens_.add(token);
        if (entry == longTokenNumbers_.size())
            longTokenNumbers_.push_back(newToken(token));
        return longTokenNumbers_[entry];
    }
    const std::uint64_t packed = packBytes(token);
    const auto size = static_cast<std::uint32_t>(token.size());
    if ((tokenTexts_.size() + 1) * 2 > shortTokens_.size()) {
        std::vector<ShortToken> bigger(std::max<std::size_t>(64, shortTokens_.size() * 2));
        for (const ShortToken& old : shortTokens_) {
            if (old.size == 0)
                continue;
            std::size_t slot = shortSlotOf(old.packed, bigger.size());
            while (bigger[slot].size != 0)
                slot = (slot + 1) & (bigger.size() - 1);
            bigger[slot] = old;
        }
        shortTokens_ = std::move(bigger);
    }
    const std::size_t mask = shortTokens_.size() - 1;
    std::size_t slot = shortSlotOf(packed, shortTokens_.size());
    for (; shortTokens_[slot].size != 0; slot = (slot + 1) & mask) {
        if (shortTokens_[slot].packed == packed && shortTokens_[slot].size == size) {
            return shortTokens_[slot].number;
        }
    }
    shortTokens_[slot] = ShortToken{packed, size, newToken(token)};
    return shortTokens_[slot].number;
}

// A token joins cleanly when putting a space on either side of it adds exactly one character:
// true for all ASCII, false for the rare letter that glues to a neighbouring space (a Malayalam
// dot reph before it, a halfwidth sound mark after it). Only phrases with such a token need their
// joined text measured.
std::uint32_t PhraseCounter::newToken(std::string_view token) {
    const std::size_t characters = text::characterCount(token);
    bool clean = text::isAscii(token);
    if (!clean) {
        const std::string spacedBefore = " " + std::string(token);
        const std::string spacedAfter = std::string(token) + " ";
        clean = text::characterCount(spacedBefore) == characters + 1 &&
                text::characterCount(spacedAfter) == characters + 1;
    }
    tokenTexts_.emplace_back(token);
    tokenInfo_.push_back(Token{characters, clean});
    return static_cast<std::uint32_t>(tokenTexts_.size() - 1);
}

std::size_t PhraseCounter::phraseCharacters(const std::uint32_t* numbers, std::size_t n) const {
    std::size_t characters = n - 1;  // the joining spaces
    bool clean = true;
    for (std::size_t k = 0; k < n; ++k) {
        characters += tokenInfo_[numbers[k]].characters;
        clean = clean && tokenInfo_[numbers[k]].joinsCleanly;
    }
    if (clean)
        return characters;
    std::string joined;
    for (std::size_t k = 0; k < n; ++k) {
        if (k > 0)
            joined += ' ';
        joined += tokenTexts_[numbers[k]];
    }
    return text::characterCount(joined);
}

void PhraseCounter::add(const std::vector<std::string_view>& lowercaseTokens) {
    const std::size_t count = lowercaseTokens.size();
    if (count < 2)
        return;
    if (tokenBlocks_.empty() ||
        tokenBlocks_.back().tokens.size() + count > tokenBlocks_.back().tokens.capacity()) {
        tokenBlocks_.emplace_back();
        tokenBlocks_.back().tokens.reserve(std::max(kBlockTokens, count));
    }
    TokenBlock& block = tokenBlocks_.back();
    const std::size_t begin = block.tokens.size();
    for (const std::string_view token : lowercaseTokens)
        block.tokens.push_back(tokenNumber(token));
    block.messageEnds.push_back(static_cast<std::uint32_t>(block.tokens.size()));
    // Every pair is counted, however short: a pair's count bounds the count of every three-token
    // phrase that contains it.
    for (std::size_t i = begin; i + 1 < block.tokens.size(); ++i) {
        const std::uint64_t key = pairKey(block.tokens[i], block.tokens[i + 1]);
        pendingPairs_[partitionOf(key)].push_back(key);
    }
    pendingCount_ += count - 1;
    if (pendingCount_ >= kPendingLimit)
        countPendingPairs();
}

void PhraseCounter::countPendingPairs() {
    for (std::size_t p = 0; p < kPartitions; ++p) {
        for (const std::uint64_t key : pendingPairs_[p])
            addPair(pairCounts_[p], key, 1);
        pendingPairs_[p].clear();
    }
    pendingCount_ = 0;
}

CountingTable PhraseCounter::atLeast(long long minimum, std::size_t mostFrequent) {
    countPendingPairs();
    // The pending lists keep their room between rounds, megabytes over all partitions; nothing
    // more arrives, so it is handed back for the tables built below.
    for (std::vector<std::uint64_t>& pending : pendingPairs_)
        std::vector<std::uint64_t>().swap(pending);
    if (mostFrequent == 0)
        return {};

    // Two-token phrases: every pair long enough, counted often enough.
    std::vector<Phrase> pairs;
    for (const PairCounts& table : pairCounts_) {
        for (std::size_t i = 0; i < table.keys.size(); ++i) {
            if (table.keys[i] == 0 || table.counts[i] < minimum)
                continue;
            const auto first = static_cast<std::uint32_t>((table.keys[i] >> 32) - 1);
            const auto second = static_cast<std::uint32_t>((table.keys[i] & 0xFFFFFFFFu) - 1);
            const std::uint32_t numbers[2] = {first, second};
            if (phraseCharacters(numbers, 2) >= kMinPhraseCharacters)
                pairs.push_back(Phrase{{first, second, 0}, 2, table.counts[i], 0});
        }
    }

    // Only phrases counted at least as often as the `mostFrequent`-th pair can make the list, and
    // a three-token phrase can reach that count only when both of its pairs do.
    long long floor = minimum;
    if (pairs.size() >= mostFrequent) {
        std::vector<long long> counts;
        counts.reserve(pairs.size());
        for (const Phrase& pair : pairs)
            counts.push_back(pair.count);
        const auto cut = counts.begin() + static_cast<std::ptrdiff_t>(mostFrequent - 1);
        std::nth_element(counts.begin(), cut, counts.end(), std::greater<>());
        floor = std::max(floor, *cut);
    }
    std::erase_if(pairs, [floor](const Phrase& pair) { return pair.count < floor; });
    // Lookups during the walk below go to small tables, and most tokens are settled before any
    // lookup because no pair that matters starts with them.
    PairCounts keptPairs;  // pair key -> its index in `pairs` + 1
    std::vector<char> startsKept(tokenTexts_.size(), 0);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        addPair(keptPairs, pairKey(pairs[i].numbers[0], pairs[i].numbers[1]),
                static_cast<std::uint32_t>(i + 1));
        startsKept[pairs[i].numbers[0]] = 1;
    }
    PairCounts frequentPairs;  // every pair, however short, counted at least `floor` times
    std::vector<char> startsFrequent(tokenTexts_.size(), 0);
    for (const PairCounts& table : pairCounts_) {
        for (std::size_t i = 0; i < table.keys.size(); ++i) {
            if (table.keys[i] == 0 || table.counts[i] < floor)
                continue;
            addPair(frequentPairs, table.keys[i], 1);
            startsFrequent[(table.keys[i] >> 32) - 1] = 1;
        }
    }
    auto frequent = [&](std::uint32_t first, std::uint32_t second) {
        return startsFrequent[first] && countOf(frequentPairs, pairKey(first, second)) != 0;
    };

    // One walk over the messages: where each kept pair first occurs, and the three-token phrases
    // worth counting.
    std::vector<Phrase> triples;
    TripleIndex tripleIndex;
    std::size_t message = 0;
    for (const TokenBlock& block : tokenBlocks_) {
        const std::uint32_t* tokens = block.tokens.data();
        std::size_t begin = 0;
        for (const std::size_t end : block.messageEnds) {
            for (std::size_t i = begin; i + 1 < end; ++i) {
                if (!startsKept[tokens[i]])
                    continue;
                const std::uint32_t kept = countOf(keptPairs, pairKey(tokens[i], tokens[i + 1]));
                if (kept == 0)
                    continue;
                Phrase& pair = pairs[kept - 1];
                if (pair.firstUse == 0)
                    pair.firstUse = ordinalOf(message, 2, i - begin) + 1;
            }
            for (std::size_t i = begin; i + 2 < end; ++i) {
                if (!frequent(tokens[i], tokens[i + 1]) ||
                    !frequent(tokens[i + 1], tokens[i + 2]) ||
                    phraseCharacters(&tokens[i], 3) < kMinPhraseCharacters) {
                    continue;
                }
                Phrase& triple =
                    tripleIndex.find(triples, {tokens[i], tokens[i + 1], tokens[i + 2]});
                if (triple.count++ == 0)
                    triple.firstUse = ordinalOf(message, 3, i - begin) + 1;
            }
            begin = end;
            ++message;
        }
    }

    std::vector<Phrase> kept = std::move(pairs);
    for (const Phrase& triple : triples) {
        if (triple.count >= floor)
            kept.push_back(triple);
    }
    std::sort(kept.begin(), kept.end(),
              [](const Phrase& a, const Phrase& b) { return a.firstUse < b.firstUse; });
    CountingTable phrases;
    std::string text;
    for (const Phrase& phrase : kept) {
        text = tokenTexts_[phrase.numbers[0]];
        for (std::size_t k = 1; k < phrase.tokens; ++k)
            text += ' ' + tokenTexts_[phrase.numbers[k]];
        phrases.add(text, phrase.count);
    }
    return phrases;
}

}  // namespace lumenary::VocabularyCounting
