#include "retrieval/RetrievalIndex.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "text/TextRules.h"

namespace lumenary {
namespace {

// Words so common in chat that sharing them says nothing about what two messages are about.
constexpr std::array<std::string_view, 20> kStopwords = {
    "the",  "and",  "you", "are",  "for",  "was", "not", "but", "with", "that",
    "this", "have", "has", "will", "your", "its", "our", "can", "did",  "does",
};

// A one-word reply rarely answers what was asked; a very long one matches almost anything.
constexpr double kShortReplyFactor = 0.35;
constexpr double kLongReplyFactor = 0.6;
constexpr std::size_t kLongReplyWords = 60;

bool isStopword(std::string_view run) {
    if (run.size() != 3 && run.size() != 4)
        return false;
    return std::find(kStopwords.begin(), kStopwords.end(), run) != kStopwords.end();
}

// Calls keep(token) for each token of `text`; the views live until the next call on this thread.
template <typename Keep>
void forEachToken(std::string_view text, Keep&& keep) {
    thread_local std::string lowered;
    thread_local std::vector<std::string_view> runs;
    text::lowercase(text, lowered);
    text::letterOrNumberRuns(lowered, runs);
    for (const std::string_view run : runs) {
        // Two characters need at least two bytes, so most one-letter runs stop at the first test.
        if (run.size() >= 2 && !isStopword(run) && text::characterCount(run) >= 2)
            keep(run);
    }
}

}  // namespace

std::vector<std::string> RetrievalIndex::tokenize(std::string_view text) {
    std::vector<std::string> tokens;
    forEachToken(text, [&](std::string_view token) { tokens.emplace_back(token); });
    return tokens;
}

RetrievalIndex::RetrievalIndex(const std::vector<ChatMessage>& messages, const std::string& speaker)
    : exchanges_(pairExchanges(messages, speaker)) {
    const std::size_t count = exchanges_.size();
    tokenCounts_.assign(count, 0);
    damping_.assign(count, Damping::none);

    // First pass: the distinct token ids of every exchange, back to back, and document counts.
    std::vector<std::uint32_t> distinct;
    std::vector<std::size_t> distinctStarts(count + 1, 0);
    std::vector<std::uint32_t> documentCounts;
    std::string joined;
    std::vector<std::uint32_t> ids;
    for (std::size_t i = 0; i < count; ++i) {
        const Exchange& exchange = exchanges_[i];
        // Prompt and reply are matched together, so a word the user wrote finds her answer.
        joined.assign(exchange.prompt ? *exchange.prompt : std::string());
        joined += ' ';
        joined += exchange.reply.text;
        ids.clear();
        forEachToken(joined,
                     [&](std::string_view token) { ids.push_back(tokenIds_.intern(token)); });
        tokenCounts_[i] = static_cast<std::uint32_t>(ids.size());

        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        for (const std::uint32_t id : ids) {
            if (id >= documentCounts.size())
                documentCounts.resize(id + 1, 0);
            ++documentCounts[id];
        }
        distinct.insert(distinct.end(), ids.begin(), ids.end());
        distinctStarts[i + 1] = distinct.size();

        const std::size_t words = text::spaceWordCount(exchange.reply.text);
        damping_[i] = words < 2                 ? Damping::shortReply
                      : words > kLongReplyWords ? Damping::longReply
                                                : Damping::none;
    }

    const double total = static_cast<double>(std::max<std::size_t>(count, 1));
    idf_.resize(documentCounts.size());
    postingStarts_.assign(documentCounts.size() + 1, 0);
    for (std::size_t id = 0; id < documentCounts.size(); ++id) {
        idf_[id] = std::log(total / static_cast<double>(documentCounts[id]) + 1.0);
        postingStarts_[id + 1] = postingStarts_[id] + documentCounts[id];
    }

    // Second pass: the posting lists, filled in archive order so each comes out ascending.
    postings_.resize(distinct.size());
    std::vector<std::uint32_t> cursor(postingStarts_.begin(), postingStarts_.end() - 1);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = distinctStarts[i]; k < distinctStarts[i + 1]; ++k) {
            postings_[cursor[distinct[k]]++] = static_cast<std::uint32_t>(i);
        }
    }
}

std::vector<Exchange> RetrievalIndex::search(std::string_view query, int limit) const {
    if (limit <= 0 || exchanges_.empty())
        return {};
    // The weights of shared tokens are summed in the order of the query's token set, so exchanges
    // sharing the same tokens get bit-identical sums and tie exactly.
    std::vector<std::string> queryTokens = tokenize(query);
    std::sort(queryTokens.begin(), queryTokens.end());
    queryTokens.erase(std::unique(queryTokens.begin(), queryTokens.end()), queryTokens.end());

    // Only exchanges on the posting lists of the query's tokens are scored; scores_ is all zeros
    // between searches, and every weight is positive, so a zero slot means "not touched yet".
    scores_.resize(exchanges_.size(), 0.0);
    touched_.clear();
    for (const std::string& token : queryTokens) {
        const std::optional<std::uint32_t> id = tokenIds_.find(token);
        if (!id)
            continue;
        const double weight = idf_[*id];
        for (std::uint32_t k = postingStarts_[*id]; k < postingStarts_[*id + 1]; ++k) {
            const std::uint32_t exchange = postings_[k];
            if (scores_[exchange] == 0)
                touched_.push_back(exchange);
            scores_[exchange] += weight;
        }
    }

    // The best `limit` by score, earlier exchange first on equal scores: the head of a stable sort.
    struct Hit {
        double score;
        std::uint32_t exchange;
    };
    const auto better = [](const Hit& a, const Hit& b) {
        return a.score != b.score ? a.score > b.score : a.exchange < b.exchange;
    };
    const std::size_t wanted = std::min(static_cast<std::size_t>(limit), touched_.size());
    std::vector<Hit> best;  // a heap whose front is the worst hit kept
    best.reserve(wanted);
    for (const std::uint32_t exchange : touched_) {
        double score = scores_[exchange];
        scores_[exchange] = 0;
        if (damping_[exchange] == Damping::shortReply)
            score *= kShortReplyFactor;
        if (damping_[exchange] == Damping::longReply)
            score *= kLongReplyFactor;
        score /= std::sqrt(static_cast<double>(tokenCounts_[exchange]));
        const Hit hit{score, exchange};
        if (best.size() < wanted) {
            best.push_back(hit);
            std::push_heap(best.begin(), best.end(), better);
        } else if (better(hit, best.front())) {
            std::pop_heap(best.begin(), best.end(), better);
            best.back() = hit;
            std::push_heap(best.begin(), best.end(), better);
        }
    }
    std::sort_heap(best.begin(), best.end(), better);

    std::vector<Exchange> found;
    found.reserve(best.size());
    for (const Hit& hit : best)
        found.push_back(exchanges_[hit.exchange]);
    return found;
}

std::vector<ChatMessage> RetrievalIndex::onThisDay(Timestamp date) const {
    const CivilTime today = LocalTime::civil(date);
    std::vector<ChatMessage> found;
    for (const Exchange& exchange : exchanges_) {
        const CivilTime written = LocalTime::civil(exchange.reply.date);
        if (written.day == today.day && written.month == today.month && written.year < today.year) {
            found.push_back(exchange.reply);
        }
    }
    return found;
}

std::optional<double> RetrievalIndex::weight(std::string_view token) const {
    const std::optional<std::uint32_t> id = tokenIds_.find(token);
    if (!id)
        return std::nullopt;
    return idf_[*id];
}

}  // namespace lumenary
