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

// 1024 partitions keep each one's distinct phrases within the processor's cache for the ten
// million phrase occurrences of a million-message archive.
constexpr int kPartitionBits = 10;
constexpr std::size_t kPartitions = std::size_t{1} << kPartitionBits;

std::uint64_t mix(std::uint64_t x) {
    // The splitmix64 finaliser: every input bit reaches the high bits that pick the partition.
    x ^= x >> 30;
    x *= 0xBF58476D1CE4E5B9ull;
    x ^= x >> 27;
    x *= 0x94D049BB133111EBull;
    x ^= x >> 31;
    return x;
}

std::uint64_t hashOf(std::uint32_t first, std::uint32_t second, std::uint32_t third) {
    return mix(((std::uint64_t{first} << 32) | second) ^ mix(third));
}

std::size_t shortSlotOf(std::uint64_t packed, std::size_t slots) {
    return static_cast<std::size_t>(mix(packed)) & (slots - 1);
}

std::size_t partitionOf(std::uint64_t hash) {
    return static_cast<std::size_t>(hash >> (64 - kPartitionBits));
}

}  // namespace

PhraseCounter::PhraseCounter() : partitions_(kPartitions) {}

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

std::size_t PhraseCounter::phraseCharacters(const std::uint32_t* numbers, std::size_t n) {
    std::size_t characters = n - 1;  // the joining spaces
    bool clean = true;
    for (std::size_t k = 0; k < n; ++k) {
        characters += tokenInfo_[numbers[k]].characters;
        clean = clean && tokenInfo_[numbers[k]].joinsCleanly;
    }
    if (clean)
        return characters;
    scratch_.clear();
    for (std::size_t k = 0; k < n; ++k) {
        if (k > 0)
            scratch_ += ' ';
        scratch_ += tokenTexts_[numbers[k]];
    }
    return text::characterCount(scratch_);
}

void PhraseCounter::add(const std::vector<std::string_view>& lowercaseTokens) {
    const std::size_t tokenCount = lowercaseTokens.size();
    if (tokenCount < 2)
        return;
    numbers_.clear();
    for (const std::string_view token : lowercaseTokens)
        numbers_.push_back(tokenNumber(token));
    for (std::size_t n = 2; n <= 3 && n <= tokenCount; ++n) {
        for (std::size_t start = 0; start + n <= tokenCount; ++start) {
            if (phraseCharacters(&numbers_[start], n) < kMinPhraseCharacters)
                continue;
            const Occurrence occurrence{numbers_[start] + 1, numbers_[start + 1] + 1,
                                        n == 3 ? numbers_[start + 2] + 1 : 0, nextOrdinal_++};
            const std::uint64_t hash =
                hashOf(occurrence.first, occurrence.second, occurrence.third);
            partitions_[partitionOf(hash)].push_back(occurrence);
        }
    }
}

CountingTable PhraseCounter::atLeast(long long minimum, std::size_t mostFrequent) const {
    // One partition at a time: the slots hold numbers into `distinct`, so the array that the
    // probes jump around in stays a few kilobytes even when the partition is long.
    struct Distinct {
        Occurrence firstUse;
        long long count;
    };
    std::vector<Distinct> kept, distinct;
    std::vector<std::uint32_t> slots;  // distinct number + 1; 0 marks an empty slot
    auto slotOf = [&](const Occurrence& o) {
        const std::size_t mask = slots.size() - 1;
        std::size_t slot = static_cast<std::size_t>(hashOf(o.first, o.second, o.third)) & mask;
        for (;; slot = (slot + 1) & mask) {
            if (slots[slot] == 0)
                return slot;
            const Occurrence& seen = distinct[slots[slot] - 1].firstUse;
            if (seen.first == o.first && seen.second == o.second && seen.third == o.third) {
                return slot;
            }
        }
    };
    for (const std::vector<Occurrence>& partition : partitions_) {
        distinct.clear();
        slots.assign(64, 0);
        // Occurrences arrive in ordinal order, so the first one stored is the phrase's first use.
        for (const Occurrence& occurrence : partition) {
            const std::size_t slot = slotOf(occurrence);
            if (slots[slot] != 0) {
                ++distinct[slots[slot] - 1].count;
                continue;
            }
            distinct.push_back(Distinct{occurrence, 1});
            slots[slot] = static_cast<std::uint32_t>(distinct.size());
            if (distinct.size() * 2 > slots.size()) {
                slots.assign(slots.size() * 2, 0);
                for (std::size_t i = 0; i < distinct.size(); ++i) {
                    slots[slotOf(distinct[i].firstUse)] = static_cast<std::uint32_t>(i + 1);
                }
            }
        }
        for (const Distinct& phrase : distinct) {
            if (phrase.count >= minimum)
                kept.push_back(phrase);
        }
    }
    // A large archive keeps hundreds of thousands of phrases; only those reaching the count of
    // the `mostFrequent`-th highest can make the list.
    if (mostFrequent == 0)
        return {};
    if (kept.size() > mostFrequent) {
        std::vector<long long> counts;
        counts.reserve(kept.size());
        for (const Distinct& phrase : kept)
            counts.push_back(phrase.count);
        const auto cut = counts.begin() + static_cast<std::ptrdiff_t>(mostFrequent - 1);
        std::nth_element(counts.begin(), cut, counts.end(), std::greater<>());
        const long long lowest = *cut;
        std::erase_if(kept, [lowest](const Distinct& phrase) { return phrase.count < lowest; });
    }
    std::sort(kept.begin(), kept.end(), [](const Distinct& a, const Distinct& b) {
        return a.firstUse.ordinal < b.firstUse.ordinal;
    });

    CountingTable phrases;
    std::string text;
    for (const Distinct& phrase : kept) {
        const Occurrence& o = phrase.firstUse;
        text = tokenTexts_[o.first - 1] + ' ' + tokenTexts_[o.second - 1];
        if (o.third != 0)
            text += ' ' + tokenTexts_[o.third - 1];
        phrases.add(text, phrase.count);
    }
    return phrases;
}

}  // namespace lumenary::VocabularyCounting
