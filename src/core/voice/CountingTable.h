#pragma once
// A word-to-count table that remembers the order in which keys first arrived, so that ranking it
// (text::rankByCount keeps the table's order among equal counts) gives the same list on every run.
//
// The statistics count tens of millions of words over a large archive, so the index is a flat
// open-addressing array of (hash tag, entry number) pairs rather than a node-based map: a lookup
// of a key already counted touches one slot and one entry and allocates nothing.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumenary {

/// Up to the first eight bytes of `s` as one integer, the rest zero. Two texts of the same length
/// up to eight bytes are equal exactly when these are.
inline std::uint64_t packBytes(std::string_view s) {
    std::uint64_t packed = 0;
    const std::size_t n = s.size() < 8 ? s.size() : 8;
    for (std::size_t i = 0; i < n; ++i) {
        packed |= std::uint64_t{static_cast<unsigned char>(s[i])} << (8 * i);
    }
    return packed;
}

/// A hash of the bytes of `s`. Keys here are mostly words of a few letters, for which the
/// library's general-purpose hash costs more than the rest of a lookup: this one reads eight bytes
/// at a time and mixes once.
inline std::uint64_t hashBytes(std::string_view s) {
    std::uint64_t h = 0x9E3779B97F4A7C15ull ^ s.size();
    for (; s.size() > 8; s.remove_prefix(8)) {
        h = (h ^ packBytes(s)) * 0xFF51AFD7ED558CCDull;
        h ^= h >> 32;
    }
    h = (h ^ packBytes(s)) * 0xC4CEB9FE1A85EC53ull;
    h ^= h >> 29;
    h *= 0xFF51AFD7ED558CCDull;
    h ^= h >> 32;
    return h;
}

class CountingTable {
public:
    using key_type = std::string;
    using value_type = std::pair<std::string, long long>;

    /// Adds `amount` to the count of `key` (copied only the first time it is seen) and gives the
    /// key's entry number: 0 for the first key added, 1 for the next, and so on.
    std::size_t add(std::string_view key, long long amount = 1) {
        if ((entries_.size() + 1) * 2 > slots_.size())
            grow();
        const std::size_t hash = hashOf(key);
        for (std::size_t slot = hash & mask();; slot = (slot + 1) & mask()) {
            Slot& s = slots_[slot];
            if (s.entryPlusOne == 0) {
                entries_.emplace_back(std::string(key), amount);
                s = Slot{tagOf(hash), static_cast<std::uint32_t>(entries_.size())};
                return entries_.size() - 1;
            }
            if (s.tag == tagOf(hash) && entries_[s.entryPlusOne - 1].first == key) {
                entries_[s.entryPlusOne - 1].second += amount;
                return s.entryPlusOne - 1;
            }
        }
    }

    /// The count of `key`, 0 when it was never added.
    long long count(std::string_view key) const {
        if (slots_.empty())
            return 0;
        const std::size_t hash = hashOf(key);
        for (std::size_t slot = hash & mask();; slot = (slot + 1) & mask()) {
            const Slot& s = slots_[slot];
            if (s.entryPlusOne == 0)
                return 0;
            if (s.tag == tagOf(hash) && entries_[s.entryPlusOne - 1].first == key) {
                return entries_[s.entryPlusOne - 1].second;
            }
        }
    }

    /// The sum of all counts.
    long long total() const {
        long long sum = 0;
        for (const auto& entry : entries_)
            sum += entry.second;
        return sum;
    }

    /// A table of the entries counted at least `minimum` times, in the same order.
    CountingTable keepingAtLeast(long long minimum) const {
        CountingTable kept;
        for (const auto& [key, n] : entries_) {
            if (n >= minimum)
                kept.add(key, n);
        }
        return kept;
    }

    std::size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

private:
    struct Slot {
        std::uint32_t tag = 0;           // high bits of the key's hash, to skip most comparisons
        std::uint32_t entryPlusOne = 0;  // 0 marks an empty slot
    };

    static std::size_t hashOf(std::string_view key) {
        return static_cast<std::size_t>(hashBytes(key));
    }
    static std::uint32_t tagOf(std::size_t hash) {
        return static_cast<std::uint32_t>(static_cast<std::uint64_t>(hash) >> 32);
    }
    std::size_t mask() const { return slots_.size() - 1; }

    // Keeps the array at most half full, so probe runs stay short; the size is a power of two.
    void grow() {
        std::vector<Slot> bigger(slots_.empty() ? 16 : slots_.size() * 2);
        const std::size_t biggerMask = bigger.size() - 1;
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            const std::size_t hash = hashOf(entries_[i].first);
            std::size_t slot = hash & biggerMask;
            while (bigger[slot].entryPlusOne != 0)
                slot = (slot + 1) & biggerMask;
            bigger[slot] = Slot{tagOf(hash), static_cast<std::uint32_t>(i + 1)};
        }
        slots_ = std::move(bigger);
    }

    std::vector<value_type> entries_;
    std::vector<Slot> slots_;
};

}  // namespace lumenary
