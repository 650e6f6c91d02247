#include "importer/WhatsAppParser.h"

#include <algorithm>

#include "importer/DateShapes.h"
#include "importer/LineParser.h"
#include "importer/ParsePipeline.h"
#include "text/TextRules.h"

namespace lumenary::WhatsAppParser {
namespace {

// The text goes to the assembler in slices of about a megabyte, each ending after a newline.
constexpr std::size_t kSlice = std::size_t{1} << 20;

bool feedSlices(std::string_view text, LineParser& parser, ParsePipeline::Handover& handover) {
    std::size_t start = 0;
    while (!parser.needsSecondPass()) {
        const std::size_t sliceEnd = std::min(text.size(), start + kSlice);
        const std::size_t newline = sliceEnd < text.size() ? text.find('\n', sliceEnd) : text.npos;
        const std::size_t end = newline == text.npos ? text.size() : newline + 1;
        // A slice that ends after a newline holds whole lines (and an empty one after its last
        // newline, which adds nothing).
        parser.addText(text.substr(start, end - start));
        if (end == text.size())
            return true;
        if (!handover.send(parser.takeBatch()))
            return false;
        start = end;
    }
    return true;
}

}  // namespace

std::vector<ChatMessage> parse(std::string_view text) {
    const bool concurrent = ParsePipeline::worthAThread(text.size());
    LayoutOrders orders;
    for (;;) {
        ParsePipeline::Run run = ParsePipeline::run(
            [&](LineParser& parser, ParsePipeline::Handover& handover) {
                return feedSlices(text, parser, handover);
            },
            orders, text.size(), concurrent);
        // Rare: the text settled its date order too late for one pass. With the order of a
        // layout fixed, it never asks again.
        if (!run.secondPassOrders)
            return std::move(run.messages);
        orders = ParsePipeline::withSecondPassOrders(orders, *run.secondPassOrders);
    }
}

std::optional<Hit> match(std::string_view line) {
    const auto groups = matchHeader(line);
    if (!groups)
        return std::nullopt;
    return Hit{groups->date, groups->time, text::trimSpacesAndTabs(groups->sender), groups->body};
}

std::optional<Timestamp> parseDate(std::string_view dateField, std::string_view timeField,
                                   DateOrder order) {
    return DateShapes::readAny(dateField, timeField, order);
}

}  // namespace lumenary::WhatsAppParser
