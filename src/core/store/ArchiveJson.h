#pragma once
// The archive file, "messages.json": a pretty-printed JSON array of ChatMessage objects.
//
// The archive can hold a million messages, read at every start and written after every import,
// so it is read with simdjson's On-Demand parser straight into the message list (no document
// tree beside it) and written in pieces rather than as one JSON value. The results are the same
// as ChatMessage's nlohmann coding; the tests hold the two together. Stateless and thread-safe.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Expected.h"
#include "common/LocalTime.h"
#include "importer/ChatMessage.h"
#include "store/StoredFile.h"

namespace lumenary::ArchiveJson {

/// The messages of an archive file's text, or nothing when it is not a JSON array of message
/// objects: any element without "id", "sender", "text" or "date", a value of the wrong type, an
/// id that is not a UUID, a date that LocalTime::parseIsoUtc does not read, text that is not UTF-8
/// or anything but white space after the array all fail the whole decode. Unknown keys are
/// ignored.
std::optional<std::vector<ChatMessage>> decode(std::string_view json);

/// The messages of the archive file `file`, decoded as by decode() without a second copy of the
/// file's text. Peak memory is the file's size, simdjson's index of it and the list.
Expected<std::vector<ChatMessage>, FileProblem> read(const std::filesystem::path& file);

/// The text of `messages` as the archive file holds it: the same text as nlohmann's dump with an
/// indent of 2, invalid UTF-8 in a text written as U+FFFD. Handed to `out` in pieces of about
/// 64 KiB, so a large archive never exists whole as text.
void encode(const std::vector<ChatMessage>& messages,
            const std::function<void(std::string_view)>& out);
/// The same, in one string.
std::string encode(const std::vector<ChatMessage>& messages);

/// LocalTime::parseIsoUtc for text that may take the fast path: the exact form
/// "YYYY-MM-DDTHH:MM:SSZ" that isoUtc writes is read without sscanf; anything else goes to
/// parseIsoUtc itself.
std::optional<Timestamp> readIsoUtc(std::string_view text);

/// The fast path alone: the moment for text of exactly the isoUtc form with fields in range,
/// nothing for any other text (which parseIsoUtc may still read). Exposed for tests.
std::optional<Timestamp> readCanonicalIsoUtc(std::string_view text);

}  // namespace lumenary::ArchiveJson
