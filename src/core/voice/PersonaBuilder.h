#pragma once
// Measures how the person wrote and turns the measurements into the voice card. Stateless and
// pure: the same archive and name always give the same result, except the hour histogram, the
// years and the card's month names, which follow the machine's time zone and locale.

#include <string>
#include <vector>

#include "importer/ChatMessage.h"
#include "voice/PersonaStats.h"

namespace lumenary::PersonaBuilder {

/// Her messages in archive order; the pointers refer into the archive and must outlive the call.
using HerMessages = std::vector<const ChatMessage*>;

/// The profile of the sender called exactly `name` in `messages` (the whole archive, in file
/// order). A name that never writes gives the default record. Blocks until done; half of the work
/// runs on a second thread that it starts and joins, so it may be called from any thread, also
/// concurrently. Entries with equal counts keep the order of their first use.
PersonaStats stats(const std::string& name, const std::vector<ChatMessage>& messages);

/// The English voice card: paragraphs joined by one empty line, speaking of her as "She" and of
/// the user as "you". `relationship` is written lowercased.
std::string card(const std::string& name, const std::string& relationship,
                 const PersonaStats& stats);

/// What she calls the user: endearments from a fixed table, most used first, at most 4.
std::vector<std::string> mineVocatives(const HerMessages& her);
/// Her two- and three-word phrases of at least 7 characters seen 3 times or more, at most 8.
std::vector<std::string> minePhrases(const HerMessages& her);
/// Words of at least 4 characters she used 3 times or more, ranked by how much more she used
/// them than the rest of `all` (every message whose id is not one of hers), at most 10.
std::vector<std::string> mineTopics(const HerMessages& her, const std::vector<ChatMessage>& all);
/// Capitalised names she wrote 3 times or more (never as a message's first word), at most 6.
std::vector<std::string> minePeople(const HerMessages& her);

/// An English enumeration: "", "a", "a and b", "a, b and c".
std::string list(const std::vector<std::string>& items);

}  // namespace lumenary::PersonaBuilder
