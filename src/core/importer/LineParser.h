#pragma once
// The first stage of parsing an export: each line is matched, and each message leaves as a
// draft with its continuation lines. The second stage, MessageAssembler, drops the drafts that
// are noise, reads the dates and builds the messages (ids, strings); it runs on another thread at
// the same time, and the two meet in ParsePipeline. The work is split so that neither thread
// waits long for the other.
//
// Internal to the importer.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/LocalTime.h"
#include "importer/DateReader.h"
#include "importer/LinePatterns.h"

namespace lumenary {

/// The two line layouts. An export merged from an iPhone and an Android part holds both, each
/// written in its own phone's date order, so each layout settles its order on its own.
enum class Layout : std::uint8_t {
    dashed,     // Android: "12/03/21, 22:15 - Amma: …", and the other unbracketed shapes
    bracketed,  // iPhone: "[12/03/2021, 10:15:32 PM] Amma: …"
};

/// A date order for each layout, indexed by Layout; nothing where it is not fixed.
using LayoutOrders = std::array<std::optional<DateOrder>, 2>;

/// The header fields of a line in any shape the importer reads (the two layouts first, then the
/// shapes of other languages and older versions), or nothing.
std::optional<LinePatterns::HeaderGroups> matchHeader(std::string_view line);

/// A message as the parser found it; the views point into text that its batch keeps alive.
/// Whether it is something a person wrote, and its date, are left to the assembler, which has
/// time to spare: a draft whose body proves to be noise is dropped there, and its continuation
/// lines join the message kept before it.
struct MessageDraft {
    std::string_view sender;
    std::string_view body;  // the header line's text, trimmed; never empty
    std::string_view more;  // the continuation lines after it, joined with "\n"; often empty
    std::string_view dateField;
    std::string_view timeField;
    std::optional<DateOrder> order;  // nothing: the order was not known yet, read both ways
    Layout layout = Layout::dashed;
    /// A dropped app notice, passed on only for its date: while the order is undecided, notices
    /// count with the messages when the readings are compared.
    bool notice = false;
};

/// Drafts and the text they point into. Moving a batch keeps its views valid.
class DraftBatch {
public:
    std::vector<MessageDraft> drafts;

    /// Keeps `bytes` alive as long as the batch, for drafts that point into it.
    void keep(std::unique_ptr<std::string> bytes) { kept_.push_back(std::move(bytes)); }
    /// Gives up the kept texts, for reuse once the batch has been read.
    std::vector<std::unique_ptr<std::string>> takeKept() { return std::move(kept_); }

    /// A copy of the concatenated pieces that lives as long as the batch.
    std::string_view copy(std::string_view first, std::string_view second = {},
                          std::string_view third = {});

private:
    std::vector<std::unique_ptr<std::string>> kept_;
    std::vector<std::unique_ptr<char[]>> blocks_;
    std::size_t blockLeft_ = 0;
    char* blockEnd_ = nullptr;
};

/// What the parser learnt about the lines of one layout, for the assembler's last step.
struct LayoutOutcome {
    std::optional<DateOrder> secondPassOrder;  // set: parse the whole text again this way
    std::optional<DateOrder> order;            // the order the layout settled on, if it did
    bool undecidedNoticeJudgedDayFirst = false;
};

/// What the parser learnt about the whole text.
struct ParseOutcome {
    std::array<LayoutOutcome, 2> layouts;  // indexed by Layout
    Timestamp importTime = 0;              // the date of messages whose date did not read
};

/// Not thread-safe; one per parse, used by one thread at a time.
///
/// Whether the text writes the day or the month first is known only at its end, but dates are
/// read as lines arrive. Until a number above 12 settles it, each message is read both ways
/// (the assembler keeps both). Once a month above 12 is seen the month-first reading alone is
/// made; if a later line proves the text day-first after all, or an app notice was judged on a
/// reading the end disowns, the text has to be parsed again with the order fixed. Real exports
/// never need that. App notices are dated here, since their date decides whether they are
/// dropped. Each layout decides on its own.
class LineParser {
public:
    /// `fixedOrders`: read every date of a layout this way instead of deciding from the text.
    explicit LineParser(LayoutOrders fixedOrders = {});

    /// One line of the text without its "\n"; `beforeNewline` when a "\n" followed it (a "\r"
    /// just before that "\n" is part of the line break). `lasting`: the line's bytes stay valid
    /// until the current batch has been assembled; otherwise what a draft needs is copied.
    void addLine(std::string_view line, bool beforeNewline, bool lasting);

    /// Splits lasting `text` at each "\n" and adds the lines.
    void addText(std::string_view text);

    /// True once the text is known to need a second pass; later lines are then ignored.
    bool needsSecondPass() const { return needsSecondPass_; }

    /// The drafts finished since the last call. The last message stays open (later lines may
    /// continue it); what it points into is copied into the next batch.
    DraftBatch takeBatch();

    /// Ends the text: the last message is finished into the last batch, which is returned.
    DraftBatch finish(ParseOutcome& outcome);

private:
    enum class Evidence {
        none,        // no number above 12 yet: read both ways
        monthFirst,  // a second number above 12
        dayFirst,    // a first number above 12: final
    };

    struct OrderState {
        std::optional<DateOrder> fixed;
        Evidence evidence = Evidence::none;
        std::optional<DateOrder> secondPass;
        bool noticeJudgedDayFirst =
            false;  // an undecided notice was judged on the day-first reading
    };

    void addHeader(Layout layout, const LinePatterns::HeaderGroups& header, bool lasting);
    void addNotice(Layout layout, std::string_view date, std::string_view time);
    bool isDroppedNotice(Layout layout, std::string_view date, std::string_view time);
    void closeOpenDraft();
    void keepOpenDraftIn(DraftBatch& batch);
    void addContinuation(std::string_view line);
    void noteNumbers(Layout layout, std::string_view dateField);
    std::optional<DateOrder> settledOrder(Layout layout) const;
    OrderState& state(Layout layout) { return orders_[static_cast<std::size_t>(layout)]; }
    const OrderState& state(Layout layout) const {
        return orders_[static_cast<std::size_t>(layout)];
    }

    std::array<OrderState, 2> orders_;
    bool needsSecondPass_ = false;
    std::optional<MessageDraft> open_;  // the last message, which continuation lines extend
    // Undecided notices met since the last message began: they follow it in the text, so they
    // follow it into the batch.
    std::vector<MessageDraft> noticesAfterOpen_;
    DraftBatch batch_;
    Timestamp importTime_;
    std::string withoutMarks_;
};

}  // namespace lumenary
