#pragma once
// Finds her real exchanges closest to what the user wrote, and her messages from this calendar
// day in earlier years.
//
// Built once from the archive and then only read. Search keeps scratch space inside the index, so
// one index is read from one thread at a time; copies are independent.

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
    /// the tokens of each prompt and reply together. Never fails.
    RetrievalIndex(const std::vector<ChatMessage>& messages, const std::string& speaker);

    /// Every exchange of the archive, in archive order.
    const std::vector<Exchange>& exchanges() const { return exchanges_; }

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

    std::vector<Exchange> exchanges_;
    TokenIds tokenIds_;
    std::vector<double> idf_;                   // by token id
    std::vector<std::uint32_t> postingStarts_;  // by token id, plus the end
    std::vector<std::uint32_t> postings_;       // exchanges holding each token, ascending
    std::vector<std::uint32_t> tokenCounts_;    // by exchange, duplicates counted
    std::vector<Damping> damping_;              // by exchange

    // Per-search scratch: a score slot per exchange (zero between searches) and the touched ones.
    mutable std::vector<double> scores_;
    mutable std::vector<std::uint32_t> touched_;
};

}  // namespace lumenary
