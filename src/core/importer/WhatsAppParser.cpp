#include "importer/WhatsAppParser.h"

#include "importer/LineParser.h"
#include "importer/LinePatterns.h"
#include "text/TextRules.h"

namespace lumenary::WhatsAppParser {

std::vector<ChatMessage> parse(std::string_view text) {
    LineParser parser;
    parser.addText(text);
    if (const std::optional<DateOrder> order = parser.finish()) {
        // Rare: the text settled its date order too late for one pass. With the order fixed,
        // the second pass always completes.
        LineParser again(*order);
        again.addText(text);
        again.finish();
        return again.takeMessages();
    }
    return parser.takeMessages();
}

std::optional<Hit> match(std::string_view line) {
    if (line.empty()) return std::nullopt;
    // The bracketed layout needs '[' first and the dash layout a digit, so one try is enough.
    const auto groups = line.front() == '[' ? LinePatterns::matchBracketed(line)
                                            : LinePatterns::matchDashed(line);
    if (!groups) return std::nullopt;
    return Hit{groups->date, groups->time, text::trimSpacesAndTabs(groups->sender), groups->body};
}

std::optional<Timestamp> parseDate(std::string_view dateField, std::string_view timeField,
                                   DateOrder order) {
    return DateReader::read(dateField, timeField, order);
}

}  // namespace lumenary::WhatsAppParser
