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

}  // namespace lumenary::LinePatterns
