#pragma once
// The header shapes of a WhatsApp export line, matched by hand with exactly the groups that ICU's
// regular-expression engine gives for the patterns quoted below (the differential test holds the
// two to each other). A regex per line would cost more than the rest of an import together.
//
// Internal to the importer. All views point into the line; ill-formed UTF-8 reads as U+FFFD.

#include <optional>
#include <string_view>

namespace lumenary::LinePatterns {

struct HeaderGroups {
    std::string_view date;    // group 1
    std::string_view time;    // group 2
    std::string_view sender;  // group 3, untrimmed
    std::string_view body;    // group 4, untrimmed
};

/// The bracketed (iPhone) layout: ^\[(.+?),\s*(.+?)\]\s*([^:]{1,60}?):\s*(.*)$
std::optional<HeaderGroups> matchBracketed(std::string_view line);

/// The dash (Android) layout:
/// ^(\d{1,4}[/.-]\d{1,2}[/.-]\d{2,4}),\s*(.+?)\s+-\s+([^:]{1,60}?):\s*(.*)$
std::optional<HeaderGroups> matchDashed(std::string_view line);

struct NoticeGroups {
    std::string_view date;  // group 1
    std::string_view time;  // group 2
};

/// The start of a bracketed line that carries no sender, such as "[12/03/21, 9:15:02 PM] Ravi
/// left": ^\[(\d{1,4}[/.-]\d{1,2}[/.-]\d{2,4}),\s*([^\]]+)\]\s*
std::optional<NoticeGroups> matchBracketedNotice(std::string_view line);

/// The same for the dash layout: ^(\d{1,4}[/.-]\d{1,2}[/.-]\d{2,4}),\s*(.+?)\s+-\s+
std::optional<NoticeGroups> matchDashedNotice(std::string_view line);

// Header shapes that the patterns above miss, seen in real exports of other languages and older
// versions. They are tried only on lines the patterns above do not match, so every line those
// read is read as before. The time group always starts with a digit; the sender keeps the rules
// above (it ends at the first colon and has at most 60 characters).
//   "28/3/2025 9:29 p. m. - Name: text"     no comma between date and time
//   "[08/11/2017 10:47:45] Name: text"       the same, bracketed
//   "08/11/2017 10:47:45: Name: text"        the old layout, a colon after the time
//   "23.3.2020 klo 12.14 - Name: text"       a connector word between date and time (Finnish
//                                            "klo"; the words are listed in OtherLinePatterns.cpp)
// Connector words and dots in the time are allowed in every shape, with or without the comma.
// The time is h:mm or h:mm:ss (or with dots), optionally followed by a day period of letters and
// dots ("PM", "p. m."); a bracket closes right after it, and the colon after the time is only for
// lines without brackets.

/// One of the shapes above, bracketed when the line starts with "[".
std::optional<HeaderGroups> matchOtherHeader(std::string_view line);

/// The start of a line in one of the shapes above that names no sender ("28/3/2025 9:29 p. m. -
/// Ravi left").
std::optional<NoticeGroups> matchOtherNotice(std::string_view line);

}  // namespace lumenary::LinePatterns
