#pragma once
// A word-to-count table that remembers the order in which keys first arrived, so that ranking it
// (text::rankByCount keeps the table's order among equal counts) gives the same list on every run.

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace lumenary {

class CountingTable {
public:
    using key_type = std::string;
    using value_type = std::pair<std::string, long long>;

    CountingTable() = default;
    // The index holds views into the entries; a copy would point into the original.
    CountingTable(const CountingTable&) = delete;
    CountingTable& operator=(const CountingTable&) = delete;
    CountingTable(CountingTable&&) = default;
    CountingTable& operator=(CountingTable&&) = default;

    /// Adds `amount` to the count of `key`; the key is copied only the first time it is seen.
    void add(std::string_view key, long long amount = 1) {
        if (const auto found = index_.find(key); found != index_.end()) {
            entries_[found->second].second += amount;
            return;
        }
        // A deque never moves its elements when it grows, so the view stays valid.
        entries_.emplace_back(std::string(key), amount);
        index_.emplace(entries_.back().first, entries_.size() - 1);
    }

    /// The count of `key`, 0 when it was never added.
    long long count(std::string_view key) const {
        const auto found = index_.find(key);
        return found == index_.end() ? 0 : entries_[found->second].second;
    }

    /// The sum of all counts.
    long long total() const {
        long long sum = 0;
        for (const auto& entry : entries_) sum += entry.second;
        return sum;
    }

    /// A table of the entries counted at least `minimum` times, in the same order.
    CountingTable keepingAtLeast(long long minimum) const {
        CountingTable kept;
        for (const auto& [key, n] : entries_) {
            if (n >= minimum) kept.add(key, n);
        }
        return kept;
    }

    std::size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

private:
    std::deque<value_type> entries_;
    std::unordered_map<std::string_view, std::size_t> index_;
};

}  // namespace lumenary
