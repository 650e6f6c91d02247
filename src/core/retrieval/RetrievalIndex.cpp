#include "retrieval/RetrievalIndex.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>

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

// Queries of up to 64 distinct known tokens keep one bit per token for each candidate; subset
// weight tables pay off up to 12 tokens (4096 sums).
constexpr std::size_t kMaskBits = 64;
constexpr std::size_t kSubsetTableBits = 12;
// Ranks are walked in chunks whose token masks stay in the processor's fastest cache.
constexpr std::size_t kChunkRanks = 4096;
// Bounds are compared with a margin far above the rounding error of a few additions, so an
// exchange is never skipped that could tie the results.
constexpr double kBoundMargin = 1.0 + 1e-9;

struct Hit {
    double score;
    std::uint32_t exchange;
};

// The best hits offered so far, at most `wanted`: higher score first and, on equal scores, the
// earlier exchange first, which is the head of a stable sort by score.
class BestHits {
public:
    explicit BestHits(std::size_t wanted) : wanted_(wanted) {
        heap_.reserve(std::min(wanted, std::size_t{1024}));
    }

    bool full() const { return heap_.size() >= wanted_; }
    /// The score of the worst hit kept; only when full().
    double worstScore() const { return heap_.front().score; }

    void offer(const Hit& hit) {
        if (heap_.size() < wanted_) {
            heap_.push_back(hit);
            std::push_heap(heap_.begin(), heap_.end(), better);
        } else if (better(hit, heap_.front())) {
            std::pop_heap(heap_.begin(), heap_.end(), better);
            heap_.back() = hit;
            std::push_heap(heap_.begin(), heap_.end(), better);
        }
    }

    std::vector<std::uint32_t> inOrder() && {
        std::sort_heap(heap_.begin(), heap_.end(), better);
        std::vector<std::uint32_t> exchanges;
        exchanges.reserve(heap_.size());
        for (const Hit& hit : heap_)
            exchanges.push_back(hit.exchange);
        return exchanges;
    }

private:
    // The heap keeps its worst hit in front.
    static bool better(const Hit& a, const Hit& b) {
        return a.score != b.score ? a.score > b.score : a.exchange < b.exchange;
    }

    std::size_t wanted_;
    std::vector<Hit> heap_;
};

// Every stopword has 3 or 4 bytes, so each is one integer: its bytes and its length. Checking a
// run then costs 20 integer comparisons instead of 20 string comparisons, for millions of runs.
constexpr std::uint64_t packShortWord(std::string_view word) {
    std::uint64_t key = word.size();
    for (std::size_t i = 0; i < word.size(); ++i) {
        key |= static_cast<std::uint64_t>(static_cast<unsigned char>(word[i])) << (8 * (i + 1));
    }
    return key;
}

constexpr std::array<std::uint64_t, kStopwords.size()> kStopwordKeys = [] {
    std::array<std::uint64_t, kStopwords.size()> keys{};
    for (std::size_t i = 0; i < kStopwords.size(); ++i) {
        keys[i] = packShortWord(kStopwords[i]);
    }
    return keys;
}();

bool isStopword(std::string_view run) {
    if (run.size() != 3 && run.size() != 4) {
        return false;
    }
    const std::uint64_t key = packShortWord(run);
    bool found = false;
    for (const std::uint64_t stopword : kStopwordKeys) {
        found |= key == stopword;
    }
    return found;
}

// Calls keep(token) for each token of `text`; the views live until the next call on this thread.
template <typename Keep>
void forEachToken(std::string_view text, Keep&& keep) {
    thread_local std::string lowered;
    const auto offer = [&](std::string_view run, bool ascii) {
        // Two characters need at least two bytes, so most one-letter runs stop at the first test;
        // in ASCII text every byte is a character (a run never holds "\r\n").
        if (run.size() >= 2 && !isStopword(run) && (ascii || text::characterCount(run) >= 2)) {
            keep(run);
        }
    };
    if (!text::isAscii(text)) {
        thread_local std::vector<std::string_view> runs;
        text::lowercase(text, lowered);
        text::letterOrNumberRuns(lowered, runs);
        for (const std::string_view run : runs)
            offer(run, false);
        return;
    }
    // ASCII text, most of an archive, in one pass: its letters are A-Z and a-z, its numbers 0-9,
    // and lowercasing sets bit 5 of A-Z (the tests hold this equal to the general rules).
    lowered.resize(text.size());
    std::size_t start = std::string_view::npos;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        c = static_cast<unsigned char>(c | (static_cast<unsigned char>(c - 'A') < 26 ? 0x20 : 0));
        lowered[i] = static_cast<char>(c);
        const bool member =
            static_cast<unsigned char>(c - 'a') < 26 || static_cast<unsigned char>(c - '0') < 10;
        if (member) {
            if (start == std::string_view::npos)
                start = i;
        } else if (start != std::string_view::npos) {
            offer(std::string_view(lowered).substr(start, i - start), true);
            start = std::string_view::npos;
        }
    }
    if (start != std::string_view::npos)
        offer(std::string_view(lowered).substr(start), true);
}

}  // namespace

std::vector<std::string> RetrievalIndex::tokenize(std::string_view text) {
    std::vector<std::string> tokens;
    forEachToken(text, [&](std::string_view token) { tokens.emplace_back(token); });
    return tokens;
}

RetrievalIndex::RetrievalIndex(const std::vector<ChatMessage>& messages, const std::string& speaker)
    : messages_(&messages) {
    // Kept in the index's own eight-byte form as they are found: a full list of positions beside
    // it would be a freed but resident hole of megabytes while the token lists below are built.
    // Room for one exchange per message is address space; only what is written becomes memory.
    positions_.reserve(messages.size());
    forEachExchangePosition(messages, speaker, [&](const ExchangePosition& position) {
        positions_.push_back({static_cast<std::uint32_t>(position.reply),
                              position.prompt == ExchangePosition::none
                                  ? noPrompt
                                  : static_cast<std::uint32_t>(position.prompt)});
    });
    const std::size_t count = positions_.size();

    // First pass: the distinct token ids of every exchange, back to back, and document counts.
    // Each exchange's ids are kept sorted as gaps of seven bits a byte (most gaps take one or two
    // bytes instead of four): this list and the postings built from it are the largest things
    // alive at once, so its size is the index build's peak.
    std::vector<std::uint8_t> distinct;
    std::vector<std::size_t> distinctStarts(count + 1, 0);
    std::size_t distinctCount = 0;
    std::vector<std::uint32_t> documentCounts;
    std::vector<std::uint32_t> tokenCounts(count, 0);
    std::vector<Damping> damping(count, Damping::none);
    // A token takes at least two bytes and a separator, so this bound is never passed: the list
    // never moves while it grows, and the room it does not use is never touched, so it costs
    // address space only, not memory.
    std::size_t tokenBound = 0;
    for (const Position& position : positions_) {
        tokenBound += messages[position.reply].text.size() / 3 + 2;
        if (position.prompt != noPrompt)
            tokenBound += messages[position.prompt].text.size() / 3 + 1;
    }
    distinct.reserve(tokenBound * 5);  // at most five bytes per id
    std::string joined;
    std::vector<std::uint32_t> ids;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string& reply = messages[positions_[i].reply].text;
        const std::string* prompt =
            positions_[i].prompt != noPrompt ? &messages[positions_[i].prompt].text : nullptr;
        ids.clear();
        const auto add = [&](std::string_view token) { ids.push_back(tokenIds_.intern(token)); };
        // Prompt and reply are matched together, so a word the user wrote finds her answer. In
        // ASCII text the space between them only separates, so each can be cut where it lies;
        // other text is joined first, since a space can belong to the character before it.
        if ((prompt == nullptr || text::isAscii(*prompt)) && text::isAscii(reply)) {
            if (prompt != nullptr) {
                forEachToken(*prompt, add);
            }
            forEachToken(reply, add);
        } else {
            joined.assign(prompt != nullptr ? *prompt : std::string());
            joined += ' ';
            joined += reply;
            forEachToken(joined, add);
        }
        tokenCounts[i] = static_cast<std::uint32_t>(ids.size());

        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        for (const std::uint32_t id : ids) {
            if (id >= documentCounts.size())
                documentCounts.resize(id + 1, 0);
            ++documentCounts[id];
        }
        std::uint32_t previous = 0;
        for (const std::uint32_t id : ids) {
            std::uint32_t gap = id - previous;
            previous = id;
            while (gap >= 0x80) {
                distinct.push_back(static_cast<std::uint8_t>(gap | 0x80));
                gap >>= 7;
            }
            distinct.push_back(static_cast<std::uint8_t>(gap));
        }
        distinctCount += ids.size();
        distinctStarts[i + 1] = distinct.size();

        const std::size_t words = text::spaceWordCount(reply);
        damping[i] = words < 2                 ? Damping::shortReply
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

    // Rank the exchanges that have tokens by the most one unit of shared weight can score in them,
    // damping / sqrt(token count). That depends only on the pair (damping, token count), so the
    // exchanges are counted into one bucket per pair, buckets in ceiling order, archive order
    // within a bucket.
    const auto ceilingOf = [](Damping d, std::uint32_t tokens) {
        const double factor = d == Damping::shortReply  ? kShortReplyFactor
                              : d == Damping::longReply ? kLongReplyFactor
                                                        : 1.0;
        return factor / std::sqrt(static_cast<double>(tokens));
    };
    const auto bucketOf = [&](std::size_t i) {
        return static_cast<std::size_t>(tokenCounts[i]) * 3 + static_cast<std::size_t>(damping[i]);
    };
    std::vector<std::uint32_t> bucketStart;
    for (std::size_t i = 0; i < count; ++i) {
        if (tokenCounts[i] == 0) {
            continue;
        }
        const std::size_t bucket = bucketOf(i);
        if (bucket >= bucketStart.size()) {
            bucketStart.resize(bucket + 1, 0);
        }
        ++bucketStart[bucket];
    }
    std::vector<std::size_t> buckets;
    for (std::size_t bucket = 0; bucket < bucketStart.size(); ++bucket) {
        if (bucketStart[bucket] != 0) {
            buckets.push_back(bucket);
        }
    }
    const auto bucketCeiling = [&](std::size_t bucket) {
        return ceilingOf(static_cast<Damping>(bucket % 3), static_cast<std::uint32_t>(bucket / 3));
    };
    std::stable_sort(buckets.begin(), buckets.end(), [&](std::size_t a, std::size_t b) {
        return bucketCeiling(a) > bucketCeiling(b);
    });
    std::uint32_t placed = 0;
    for (const std::size_t bucket : buckets) {
        const std::uint32_t size = bucketStart[bucket];
        bucketStart[bucket] = placed;
        placed += size;
    }
    exchangeAtRank_.resize(placed);
    for (std::size_t i = 0; i < count; ++i) {
        if (tokenCounts[i] != 0) {
            exchangeAtRank_[bucketStart[bucketOf(i)]++] = static_cast<std::uint32_t>(i);
        }
    }
    const std::size_t ranked = exchangeAtRank_.size();

    // Second pass: the posting lists, filled in rank order so each comes out ascending.
    postings_.resize(distinctCount);
    std::vector<std::uint32_t> cursor(postingStarts_.begin(), postingStarts_.end() - 1);
    for (std::size_t rank = 0; rank < ranked; ++rank) {
        const std::uint32_t i = exchangeAtRank_[rank];
        std::uint32_t id = 0;
        for (std::size_t k = distinctStarts[i]; k < distinctStarts[i + 1];) {
            std::uint32_t gap = 0;
            for (int shift = 0;; shift += 7) {
                const std::uint8_t byte = distinct[k++];
                gap |= static_cast<std::uint32_t>(byte & 0x7F) << shift;
                if (byte < 0x80)
                    break;
            }
            id += gap;
            postings_[cursor[id]++] = static_cast<std::uint32_t>(rank);
        }
    }
    // The token lists are the largest thing built here; they go before the arrays by rank are
    // filled, so the two never take room at the same time.
    std::vector<std::uint8_t>().swap(distinct);
    std::vector<std::size_t>().swap(distinctStarts);
    std::vector<std::uint32_t>().swap(cursor);

    ceiling_.resize(ranked);
    rootTokenCount_.resize(ranked);
    damping_.resize(ranked);
    for (std::size_t rank = 0; rank < ranked; ++rank) {
        const std::uint32_t i = exchangeAtRank_[rank];
        ceiling_[rank] = ceilingOf(damping[i], tokenCounts[i]);
        rootTokenCount_[rank] = std::sqrt(static_cast<double>(tokenCounts[i]));
        damping_[rank] = damping[i];
    }

}

// The score of the exchange at `rank` whose distinct shared tokens weigh `sharedWeight`, in the
// same operations and order as the plain definition, so equal inputs give bit-identical scores.
double RetrievalIndex::score(double sharedWeight, std::uint32_t rank) const {
    double s = sharedWeight;
    if (damping_[rank] == Damping::shortReply)
        s *= kShortReplyFactor;
    if (damping_[rank] == Damping::longReply)
        s *= kLongReplyFactor;
    return s / rootTokenCount_[rank];
}

std::vector<Exchange> RetrievalIndex::search(std::string_view query, int limit) const {
    if (limit <= 0 || exchangeAtRank_.empty())
        return {};
    // The weights of shared tokens are summed in the order of the query's token set (by text), so
    // exchanges sharing the same tokens get bit-identical sums and tie exactly.
    std::vector<std::string> queryTokens = tokenize(query);
    std::sort(queryTokens.begin(), queryTokens.end());
    queryTokens.erase(std::unique(queryTokens.begin(), queryTokens.end()), queryTokens.end());
    std::vector<Term> terms;
    for (const std::string& token : queryTokens) {
        if (const std::optional<std::uint32_t> id = tokenIds_.find(token)) {
            terms.push_back({*id, idf_[*id]});
        }
    }
    if (terms.empty())
        return {};

    const auto wanted = static_cast<std::size_t>(limit);
    const std::vector<std::uint32_t> best =
        terms.size() <= kMaskBits ? bestByChunks(terms, wanted) : bestByAccumulation(terms, wanted);
    std::vector<Exchange> found;
    found.reserve(best.size());
    for (const std::uint32_t i : best) {
        found.push_back(exchange(i));
    }
    return found;
}

// Walks the ranks in chunks, most promising first. In each chunk only the posting lists of the
// "heavy" query tokens find candidates; the lightest tokens, which together cannot lift an
// exchange that has nothing else into the results, are only looked up for those candidates. Once
// every token is light the search stops: no later exchange can reach the results. Every
// candidate is scored exactly, from the full set of query tokens it holds.
std::vector<std::uint32_t> RetrievalIndex::bestByChunks(const std::vector<Term>& terms,
                                                        std::size_t wanted) const {
    const std::size_t m = terms.size();

    // Shared weights of every subset of the query's tokens, for queries short enough: adding the
    // highest-numbered token last is exactly what summing over the tokens in order does.
    std::vector<double> subsetWeights;
    if (m <= kSubsetTableBits) {
        subsetWeights.assign(std::size_t{1} << m, 0.0);
        for (std::uint64_t mask = 1; mask < subsetWeights.size(); ++mask) {
            const int top = 63 - std::countl_zero(mask);
            subsetWeights[mask] =
                subsetWeights[mask & ~(std::uint64_t{1} << top)] + terms[top].weight;
        }
    }
    const auto sharedWeight = [&](std::uint64_t mask) {
        if (!subsetWeights.empty())
            return subsetWeights[mask];
        double sum = 0;
        for (std::size_t j = 0; j < m; ++j) {
            if (mask >> j & 1)
                sum += terms[j].weight;
        }
        return sum;
    };

    // An exchange whose shared tokens are all among the q lightest scores at most
    // min(lightSum[q] * its ceiling, spread[q]): it holds c <= q of them, so at least c tokens,
    // and scores at most their weight over sqrt(c).
    std::vector<std::size_t> byWeight(m);
    std::iota(byWeight.begin(), byWeight.end(), std::size_t{0});
    std::stable_sort(byWeight.begin(), byWeight.end(), [&](std::size_t a, std::size_t b) {
        return terms[a].weight < terms[b].weight;
    });
    std::vector<double> lightSum(m + 1, 0.0), spread(m + 1, 0.0);
    for (std::size_t q = 1; q <= m; ++q) {
        lightSum[q] = lightSum[q - 1] + terms[byWeight[q - 1]].weight;
        double heaviest = 0;
        for (std::size_t c = 1; c <= q; ++c) {
            heaviest += terms[byWeight[q - c]].weight;
            spread[q] = std::max(spread[q], heaviest / std::sqrt(static_cast<double>(c)));
        }
    }

    BestHits best(wanted);
    std::vector<std::uint32_t> cursor(m), end(m);
    for (std::size_t j = 0; j < m; ++j) {
        cursor[j] = postingStarts_[terms[j].id];
        end[j] = postingStarts_[terms[j].id + 1];
    }
    if (masks_.size() < kChunkRanks)
        masks_.resize(kChunkRanks, 0);
    const std::size_t ranked = exchangeAtRank_.size();
    for (std::size_t start = 0; start < ranked; start += kChunkRanks) {
        const std::size_t stop = std::min(start + kChunkRanks, ranked);
        std::size_t light = 0;
        if (best.full()) {
            const double bar = best.worstScore();
            while (light < m && std::min(lightSum[light + 1] * ceiling_[start], spread[light + 1]) *
                                        kBoundMargin <
                                    bar) {
                ++light;
            }
            if (light == m)
                break;
        }

        // Candidates are collected without a branch per posting: most postings of a long list
        // land on an exchange already seen, in no predictable pattern.
        // One slot more than the chunk's ranks: the loop below writes a rank before it knows
        // whether the rank is new, so the write after the last new rank needs a place to land.
        touched_.resize(stop - start + 1);
        std::size_t touchedCount = 0;
        for (std::size_t e = light; e < m; ++e) {
            const std::size_t j = byWeight[e];
            const std::uint64_t bit = std::uint64_t{1} << j;
            std::uint32_t k = cursor[j];
            for (; k < end[j] && postings_[k] < stop; ++k) {
                std::uint64_t& mask = masks_[postings_[k] - start];
                touched_[touchedCount] = postings_[k];
                touchedCount += mask == 0 ? 1 : 0;
                mask |= bit;
            }
            cursor[j] = k;
        }
        touched_.resize(touchedCount);
        for (std::size_t e = 0; e < light; ++e) {
            const std::size_t j = byWeight[e];
            const std::uint64_t bit = std::uint64_t{1} << j;
            const std::uint32_t* first = postings_.data() + cursor[j];
            const std::uint32_t* last = std::lower_bound(first, postings_.data() + end[j],
                                                         static_cast<std::uint32_t>(stop));
            // Reading the chunk's postings costs their number; looking each candidate up costs a
            // logarithm of it. Take the cheaper.
            if (static_cast<std::size_t>(last - first) <= touched_.size() * 8) {
                for (const std::uint32_t* p = first; p != last; ++p) {
                    std::uint64_t& mask = masks_[*p - start];
                    if (mask != 0)
                        mask |= bit;
                }
            } else {
                for (const std::uint32_t rank : touched_) {
                    if (std::binary_search(first, last, rank))
                        masks_[rank - start] |= bit;
                }
            }
            cursor[j] = static_cast<std::uint32_t>(last - postings_.data());
        }

        for (const std::uint32_t rank : touched_) {
            std::uint64_t& mask = masks_[rank - start];
            const double weight = sharedWeight(mask);
            mask = 0;
            // Most candidates fall short of the results; a multiplication with a margin tells.
            if (best.full() && weight * ceiling_[rank] * kBoundMargin < best.worstScore()) {
                continue;
            }
            best.offer({score(weight, rank), exchangeAtRank_[rank]});
        }
    }
    return std::move(best).inOrder();
}

// Adds every query token's weight to every exchange holding it, in the query's token order.
std::vector<std::uint32_t> RetrievalIndex::bestByAccumulation(const std::vector<Term>& terms,
                                                              std::size_t wanted) const {
    // Every weight is positive, so a zero slot means "not touched yet"; slots go back to zero.
    scores_.resize(exchangeAtRank_.size(), 0.0);
    touched_.clear();
    for (const Term& term : terms) {
        for (std::uint32_t k = postingStarts_[term.id]; k < postingStarts_[term.id + 1]; ++k) {
            const std::uint32_t rank = postings_[k];
            if (scores_[rank] == 0)
                touched_.push_back(rank);
            scores_[rank] += term.weight;
        }
    }
    BestHits best(wanted);
    for (const std::uint32_t rank : touched_) {
        best.offer({score(scores_[rank], rank), exchangeAtRank_[rank]});
        scores_[rank] = 0;
    }
    return std::move(best).inOrder();
}

Exchange RetrievalIndex::exchange(std::size_t i) const {
    const Position& position = positions_[i];
    Exchange copy;
    copy.reply = (*messages_)[position.reply];
    if (position.prompt != noPrompt)
        copy.prompt = (*messages_)[position.prompt].text;
    return copy;
}

const std::vector<Exchange>& RetrievalIndex::exchanges() const {
    if (!exchangesCopied_) {
        exchanges_.reserve(positions_.size());
        for (std::size_t i = 0; i < positions_.size(); ++i) {
            exchanges_.push_back(exchange(i));
        }
        exchangesCopied_ = true;
    }
    return exchanges_;
}

std::vector<ChatMessage> RetrievalIndex::onThisDay(Timestamp date) const {
    const CivilTime today = LocalTime::civil(date);
    std::vector<ChatMessage> found;
    for (const Position& position : positions_) {
        const ChatMessage& reply = (*messages_)[position.reply];
        const CivilTime written = LocalTime::civil(reply.date);
        if (written.day == today.day && written.month == today.month && written.year < today.year) {
            found.push_back(reply);
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
