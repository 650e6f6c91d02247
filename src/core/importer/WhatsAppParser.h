#pragma once
// Turns the text of a WhatsApp chat export into the messages people wrote.
//
// Both layouts are read: the bracketed one of iPhones ("[12/03/2021, 10:15:32 PM] Amma: Did you
// eat?") and the dash one of Android phones ("12/03/21, 22:15 - Amma: Did you eat?"). Lines
// without a header continue the message before them; app notices, media placeholders, deletion
// notices, call logs and bare links are dropped. Stateless; every function is thread-safe.

#include <optional>
#include <string_view>
#include <vector>

#include "common/LocalTime.h"
#include "importer/ChatMessage.h"
#include "importer/DateReader.h"

namespace lumenary::WhatsAppParser {

/// The fields of one message header line, as views into that line.
struct Hit {
    std::string_view dateField;  // the date part as written
    std::string_view timeField;  // the time part as written
    std::string_view sender;     // trimmed of spaces and tabs
    std::string_view body;       // the rest of the line, untrimmed
};

/// The messages of an export's text (UTF-8), in file order. Never fails: text that holds no
/// message gives an empty list. Each message gets a fresh random id; a date that no format reads
/// becomes the moment of the call. Whether dates are written day first or month first is decided
/// once for the whole text, from its header lines.
std::vector<ChatMessage> parse(std::string_view text);

/// True when a message body is not something a person wrote: a notice of the app, a media
/// placeholder, a call log entry, a bare link, or nothing but white space.
bool isNoise(std::string_view body);

/// The header fields of `line` in any shape the parser reads, or nothing.
std::optional<Hit> match(std::string_view line);

/// Reads a header's date and time in the machine's time zone: dateField + ", " + timeField with
/// the ten export formats, else in the other shapes real exports write (DateShapes).
std::optional<Timestamp> parseDate(std::string_view dateField, std::string_view timeField,
                                   DateOrder order = DateOrder::dayFirst);

}  // namespace lumenary::WhatsAppParser
