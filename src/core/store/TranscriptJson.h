#pragma once
// The transcript file, "chat.json": a pretty-printed JSON array of Store::Turn objects.

#include <string>
#include <vector>

#include "store/Store.h"

namespace lumenary::TranscriptJson {

/// The text of `turns` as the file holds it: the same text as nlohmann's dump of their JSON
/// coding with an indent of 2, written directly because it is encoded at every save and a long
/// conversation runs to thousands of turns.
std::string encode(const std::vector<Store::Turn>& turns);

}  // namespace lumenary::TranscriptJson
