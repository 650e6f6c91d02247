#pragma once
// Finds her real exchanges closest to what the user wrote, and her messages from this calendar
// day in earlier years.
//
// Built once from the archive and then only read. The index refers to the archive's message list
// instead of copying her messages (a million-message archive would otherwise be held twice), so
// the list must outlive the index and stay unchanged; a changed archive needs a new index. Search
// keeps scratch space inside the index, so one index is read from one thread at a time.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/LocalTime.h"
#include "importer/ChatMessage.h"
#include "retrieval/TokenIds.h"
#include "voice/Exchange.h"

namespace lumenary {

class RetrievalIndex {
public:
    /// An index without exchanges: every search finds nothing.
    RetrievalIndex() = default;
    /// Pairs `messages` (the whole archive, in order) into the exchanges of `speaker` and indexes
    /// the tokens of each prompt and reply together. Keeps a reference to `messages`. Never fails.
    RetrievalIndex(const std::vector<ChatMessage>& messages, const std::string& speaker);
    /// A temporary list would be gone before the index is used.
    RetrievalIndex(std::vector<ChatMessage>&& messages, const std::string& speaker) = delete;

    /// The number of exchanges: one per message of hers.
    std::size_t exchangeCount() const { return positions_.size(); }
    /// Exchange `i` (< exchangeCount()) in archive order, copied out of the archive.
    Exchange exchange(std::size_t i) const;
    /// Every exchange of the archive, in archive order. Copied out of the archive on first use,
    /// which costs as much memory again as her messages: prefer exchangeCount and exchange.
    const std::vector<Exchange>& exchanges() const;

    /// The best `limit` exchanges for `query`, best first: summed weights of the distinct tokens
    /// they share with it, damped for replies under 2 or over 60 space words, divided by the
    /// square root of the exchange's token count. Equal scores keep archive order. Nothing for a
    /// limit of 0 or less or a query without tokens.
    std::vector<Exchange> search(std::string_view query, int limit) const;

    /// The replies written on the same day and month as `date` in an earlier year, in archive
    /// order, all read in the machine's time zone.
    std::vector<ChatMessage> onThisDay(Timestamp date) const;

    /// The weight of `token`, ln(N / df + 1), or nothing when no exchange holds it.
    std::optional<double> weight(std::string_view token) const;

    /// The lowercased letter-or-number runs of `text` of at least 2 characters that are not
    /// stopwords, in order, duplicates kept.
    static std::vector<std::string> tokenize(std::string_view text);

private:
    enum class Damping : std::uint8_t { none, shortReply, longReply };
    struct Term {
        std::uint32_t id;
        double weight;
    };

    double score(double sharedWeight, std::uint32_t rank) const;
    // Both give the indices of the best `wanted` exchanges, best first; the first needs at most 64
    // terms, the second takes any number but reads every posting of every term.
    std::vector<std::uint32_t> bestByChunks(const std::vector<Term>& terms,
                                            std::size_t wanted) const;
    std::vector<std::uint32_t> bestByAccumulation(const std::vector<Term>& terms,
                                                  std::size_t wanted) const;

    // Where each exchange's reply and prompt are in the archive; noPrompt when absent.
    static constexpr std::uint32_t noPrompt = UINT32_MAX;
    struct Position {
        std::uint32_t reply;
        std::uint32_t prompt;
    };

    const std::vector<ChatMessage>* messages_ = nullptr;
    std::vector<Position> positions_;
    mutable std::vector<Exchange> exchanges_;  // filled by exchanges() on first use
    mutable bool exchangesCopied_ = false;
    TokenIds tokenIds_;
    std::vector<double> idf_;                   // by token id
    std::vector<std::uint32_t> postingStarts_;  // by token id, plus the end
    std::vector<std::uint32_t> postings_;  // ranks of the exchanges holding each token, ascending

    // Exchanges that have tokens, ranked by ceiling (highest first, then archive order): a search
    // walks them in that order and stops once no later exchange can reach its results.
    std::vector<std::uint32_t> exchangeAtRank_;
    std::vector<double> ceiling_;         // by rank: damping factor / sqrt(token count)
    std::vector<double> rootTokenCount_;  // by rank: sqrt(token count, duplicates counted)
    std::vector<Damping> damping_;        // by rank

    // Per-search scratch, reused so a search allocates little: token masks of one chunk of ranks
    // (zero between searches), the ranks touched in it, and dense scores for very long queries.
    mutable std::vector<std::uint64_t> masks_;
    mutable std::vector<std::uint32_t> touched_;
    mutable std::vector<double> scores_;
};

}  // namespace lumenary
