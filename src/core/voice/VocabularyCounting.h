#pragma once
// The per-message counting steps behind PersonaBuilder's mining operations, separated from the
// ranking so that PersonaBuilder::stats can lowercase and cut each message once and feed every
// table from the same pieces. Internal to the voice model.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "importer/ChatMessage.h"
#include "voice/CountingTable.h"
#include "voice/PersonaBuilder.h"

namespace lumenary::VocabularyCounting {

/// Counts each letter run (of lowercased text) that is one of the endearments.
void countVocatives(const std::vector<std::string_view>& lowercaseLetterRuns, CountingTable& table);

/// Counts the 2- and 3-token phrases of at least 7 characters. A large archive holds millions of
/// distinct phrases, and a table keyed by their text spends its time (and hundreds of megabytes)
/// waiting on memory. So tokens are numbered once, every pair of neighbouring tokens is counted
/// in hash partitions small enough to stay in the processor's cache, and three-token phrases are
/// counted afterwards only where both of their pairs are frequent enough to matter: a phrase of
/// three tokens never occurs more often than either pair inside it. The outcome equals counting
/// the joined texts in a CountingTable.
class PhraseCounter {
public:
    PhraseCounter();
    /// Counts the phrases of one message, given its lowercased letter-or-number runs.
    void add(const std::vector<std::string_view>& lowercaseTokens);
    /// The phrases counted at least `minimum` times with their counts, in order of first
    /// occurrence (the order a CountingTable would keep), leaving out those that cannot be among
    /// the `mostFrequent` highest counts: every phrase tied with the last of those stays, so
    /// ranking the result gives the same first `mostFrequent` entries as ranking them all.
    CountingTable atLeast(long long minimum, std::size_t mostFrequent);

    /// Counts keyed by a pair of token numbers (each + 1, so no key is 0), open addressing.
    struct PairCounts {
        std::vector<std::uint64_t> keys;  // 0 marks an empty slot
        std::vector<std::uint32_t> counts;
        std::size_t size = 0;
    };

private:
    struct Token {
        std::size_t characters;
        bool joinsCleanly;  // its length adds up when joined with spaces (see newToken)
    };
    // Most tokens fit in eight bytes and are looked up as one integer; longer ones by text.
    struct ShortToken {
        std::uint64_t packed = 0;
        std::uint32_t size = 0;  // 0 marks an empty slot
        std::uint32_t number = 0;
    };

    std::uint32_t tokenNumber(std::string_view token);
    std::uint32_t newToken(std::string_view token);
    std::size_t phraseCharacters(const std::uint32_t* numbers, std::size_t n) const;
    void countPendingPairs();

    std::vector<ShortToken> shortTokens_;
    CountingTable longTokens_;
    std::vector<std::uint32_t> longTokenNumbers_;  // by entry of longTokens_
    std::vector<std::string> tokenTexts_;          // by token number
    std::vector<Token> tokenInfo_;                 // by token number
    // The token numbers of every message with two tokens or more, one message after another, in
    // blocks that stay where they are as more arrive: a million messages hold millions of tokens,
    // and one growing array would copy them again and again and briefly need twice the room.
    struct TokenBlock {
        std::vector<std::uint32_t> tokens;
        std::vector<std::uint32_t> messageEnds;  // where each message ends in `tokens`
    };
    std::vector<TokenBlock> tokenBlocks_;
    std::vector<std::vector<std::uint64_t>> pendingPairs_;  // by partition, not yet counted
    std::size_t pendingCount_ = 0;
    std::vector<PairCounts> pairCounts_;  // by partition
};

/// Counts the letter runs of at least 4 characters that are not stopwords.
void tallyTopicWords(const std::vector<std::string_view>& lowercaseLetterRuns,
                     CountingTable& table);
/// The topic tally of whole messages (lowercased and cut here).
CountingTable topicTally(const std::vector<const ChatMessage*>& messages);
/// Counts the capitalised names among a message's space words after the first.
void countPeople(const std::vector<std::string_view>& spaceWords, CountingTable& table);

/// The messages of `all` whose id is the id of none of `her`, in archive order.
std::vector<const ChatMessage*> otherSide(const PersonaBuilder::HerMessages& her,
                                          const std::vector<ChatMessage>& all);

std::vector<std::string> rankVocatives(const CountingTable& table);
std::vector<std::string> rankPhrases(PhraseCounter& counter);
std::vector<std::string> rankTopics(const CountingTable& herTally, const CountingTable& otherTally);
std::vector<std::string> rankPeople(const CountingTable& table);

}  // namespace lumenary::VocabularyCounting
