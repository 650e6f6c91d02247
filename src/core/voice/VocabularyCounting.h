#pragma once
// The per-message counting steps behind PersonaBuilder's mining operations, separated from the
// ranking so that PersonaBuilder::stats can lowercase and cut each message once and feed every
// table from the same pieces. Internal to the voice model.

#include <string>
#include <string_view>
#include <vector>

#include "importer/ChatMessage.h"
#include "voice/CountingTable.h"
#include "voice/PersonaBuilder.h"

namespace lumenary::VocabularyCounting {

/// Counts each letter run (of lowercased text) that is one of the endearments.
void countVocatives(const std::vector<std::string_view>& lowercaseLetterRuns, CountingTable& table);
/// Counts the 2- and 3-token phrases of at least 7 characters; `scratch` is reused between calls
/// so that a phrase already in the table costs no allocation.
void countPhrases(const std::vector<std::string_view>& lowercaseTokens, CountingTable& table,
                  std::string& scratch);
/// Counts the letter runs of at least 4 characters that are not stopwords.
void tallyTopicWords(const std::vector<std::string_view>& lowercaseLetterRuns, CountingTable& table);
/// The topic tally of whole messages (lowercased and cut here).
CountingTable topicTally(const std::vector<const ChatMessage*>& messages);
/// Counts the capitalised names among the space words of `text` after the first.
void countPeople(std::string_view text, CountingTable& table);

/// The messages of `all` whose id is the id of none of `her`, in archive order.
std::vector<const ChatMessage*> otherSide(const PersonaBuilder::HerMessages& her,
                                          const std::vector<ChatMessage>& all);

std::vector<std::string> rankVocatives(const CountingTable& table);
std::vector<std::string> rankPhrases(const CountingTable& table);
std::vector<std::string> rankTopics(const CountingTable& herTally, const CountingTable& otherTally);
std::vector<std::string> rankPeople(const CountingTable& table);

}  // namespace lumenary::VocabularyCounting
