#pragma once
// Parsing an export one line at a time, so that the importer can feed lines as it decodes them
// and never hold the whole text. WhatsAppParser::parse is this parser fed from a string.
//
// Internal to the importer.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/LocalTime.h"
#include "importer/ChatMessage.h"
#include "importer/DateReader.h"
#include "importer/Uuid.h"

namespace lumenary {

/// Not thread-safe; one per parse.
///
/// Whether the text writes the day or the month first is known only at its end, but dates are
/// read as lines arrive. Until a number above 12 settles it, each message is read both ways. Once
/// a month above 12 is seen the month-first reading is kept alone; if a later line then proves
/// the text day-first after all, or an app notice was judged on a reading the end disowns, the
/// text has to be parsed again with the order fixed: finish() says so. Real exports never do.
class LineParser {
public:
    /// `fixedOrder`: read every date this way instead of deciding from the text.
    explicit LineParser(std::optional<DateOrder> fixedOrder = std::nullopt);

    /// One line of the text without its "\n"; `beforeNewline` when a "\n" followed it (a "\r"
    /// just before that "\n" is part of the line break, not of the line).
    void addLine(std::string_view line, bool beforeNewline);

    /// Splits `text` at each "\n" and adds the lines.
    void addText(std::string_view text);

    /// True once the text is known to need a second pass; later lines are then ignored.
    bool needsSecondPass() const { return secondPassOrder_.has_value(); }

    /// Ends the text. Gives the order to parse the whole text again with, or nothing when the
    /// messages are ready for takeMessages().
    std::optional<DateOrder> finish();

    /// The messages in file order; once, after finish() gave nothing.
    std::vector<ChatMessage> takeMessages();

private:
    // Messages in blocks that are freed one by one when the final list is built, so that a large
    // archive never sits in memory twice.
    class MessageBlocks {
    public:
        std::size_t size() const { return size_; }
        bool empty() const { return size_ == 0; }
        ChatMessage& back() { return blocks_.back().back(); }
        void push(ChatMessage message);
        /// Calls visit(message) for each message in order.
        template <typename Visit>
        void forEach(Visit&& visit) {
            for (auto& block : blocks_) {
                for (ChatMessage& message : block) visit(message);
            }
        }
        std::vector<ChatMessage> takeAll();

    private:
        std::vector<std::vector<ChatMessage>> blocks_;
        std::size_t size_ = 0;
    };

    enum class Evidence {
        none,        // no number above 12 yet: read both ways
        monthFirst,  // a second number above 12
        dayFirst,    // a first number above 12: final
    };

    void addHeader(std::string_view date, std::string_view time, std::string_view sender,
                   std::string_view body);
    bool isDroppedNotice(std::string_view date, std::string_view time);
    void addContinuation(std::string_view line);
    void noteNumbers(std::string_view dateField);
    void adoptMonthFirstReadings();
    std::optional<DateOrder> settledOrder() const;

    std::optional<DateOrder> fixedOrder_;
    Evidence evidence_ = Evidence::none;
    std::optional<DateOrder> secondPassOrder_;
    bool noticeJudgedDayFirst_ = false;  // an undecided notice was judged on the day-first reading
    std::vector<double> monthFirstReadings_;  // one per message while the order is undecided
    MessageBlocks messages_;
    UuidGenerator uuids_;
    Timestamp importTime_;
    std::string withoutMarks_;
};

}  // namespace lumenary
