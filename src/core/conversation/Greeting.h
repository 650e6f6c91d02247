#pragma once
// The greeting shown in the companion's speech bubble: one of her real messages, written around
// the hour it is now, short enough to read at a glance.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/LocalTime.h"
#include "importer/ChatMessage.h"
#include "store/Store.h"

namespace lumenary::Greeting {

/// Gives a uniformly chosen index below `count` (which is at least 1).
using PickIndex = std::function<std::size_t(std::size_t count)>;

/// Her messages that may greet the user at `hour` (0–23, local time), in archive order: sent by
/// `speaker`, written at a local hour at most one away from `hour` (plain difference, so 23 and 0
/// are 23 apart), with at least 7 and fewer than 60 characters.
std::vector<const ChatMessage*> candidates(const std::vector<ChatMessage>& messages,
                                           std::string_view speaker, int hour);

/// The greeting at the moment `now`: one of the candidates at its local hour, chosen by `pick`;
/// nothing when the store has no retrieval index or no message qualifies. Reads the whole archive
/// once.
std::optional<std::string> choose(const Store& store, Timestamp now, const PickIndex& pick);

}  // namespace lumenary::Greeting
