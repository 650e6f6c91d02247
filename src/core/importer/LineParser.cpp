#include "importer/LineParser.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "importer/DateShapes.h"
#include "importer/LinePatterns.h"
#include "importer/NoiseRules.h"
#include "text/TextRules.h"

namespace lumenary {
namespace {

using std::size_t;

// Only a line that starts with '[' or a digit can carry a header.
bool mayStartHeader(std::string_view line) {
    const auto first = static_cast<unsigned char>(line.front());
    if (first == '[' || (first >= '0' && first <= '9'))
        return true;
    if (first < 0x80)
        return false;
    UChar32 c = 0;
    size_t i = 0;
    U8_NEXT_OR_FFFD(line.data(), i, line.size(), c);
    return u_charType(c) == U_DECIMAL_DIGIT_NUMBER;
}

// The value of a field made only of decimal digits (any script), or -1. Values stop growing at
// 1000: only "above 12" matters.
long long digitsValue(std::string_view field) {
    if (field.empty())
        return -1;
    long long value = 0;
    for (size_t i = 0; i < field.size();) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(field.data(), i, field.size(), c);
        if (u_charType(c) != U_DECIMAL_DIGIT_NUMBER)
            return -1;
        value = std::min(value * 10 + u_charDigitValue(c), 1000LL);
    }
    return value;
}

// The first and second numbers of a date field: the digits before the first '/', '.' or '-',
// and those between it and the next (or the end).
std::pair<long long, long long> leadingNumbers(std::string_view date) {
    const size_t first = date.find_first_of("/.-");
    if (first == std::string_view::npos)
        return {-1, -1};
    const size_t second = date.find_first_of("/.-", first + 1);
    const size_t secondLength =
        second == std::string_view::npos ? std::string_view::npos : second - first - 1;
    return {digitsValue(date.substr(0, first)), digitsValue(date.substr(first + 1, secondLength))};
}

// The controls of text direction, all three bytes in UTF-8 starting with E2: the marks U+200E and
// U+200F, the embeddings and overrides U+202A–U+202E and the isolates U+2066–U+2069. Exports put
// them around names, placeholders and notices; none belongs to what a person wrote. The emoji
// joiner U+200D, its neighbour, is not one of them.
bool isDirectionControl(std::string_view s, size_t i) {
    if (i + 2 >= s.size())
        return false;
    const auto second = static_cast<unsigned char>(s[i + 1]);
    const auto third = static_cast<unsigned char>(s[i + 2]);
    if (second == 0x80)
        return third == 0x8E || third == 0x8F || (third >= 0xAA && third <= 0xAE);
    return second == 0x81 && third >= 0xA6 && third <= 0xA9;
}

Layout layoutOf(std::string_view line) {
    return line.front() == '[' ? Layout::bracketed : Layout::dashed;
}

}  // namespace

std::string_view DraftBatch::copy(std::string_view first, std::string_view second,
                                  std::string_view third) {
    const size_t length = first.size() + second.size() + third.size();
    // Blocks of 64 KiB hold many short texts; a longer one gets a block of its own.
    constexpr size_t kBlock = size_t{64} << 10;
    char* out = nullptr;
    if (length <= blockLeft_) {
        out = blockEnd_ - blockLeft_;
        blockLeft_ -= length;
    } else {
        const size_t size = std::max(length, kBlock);
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
        out = blocks_.back().get();
        blockEnd_ = out + size;
        blockLeft_ = size - length;
    }
    char* at = out;
    for (const std::string_view piece : {first, second, third}) {
        if (!piece.empty())
            at = std::copy(piece.begin(), piece.end(), at);
    }
    return std::string_view(out, length);
}

std::optional<LinePatterns::HeaderGroups> matchHeader(std::string_view line) {
    if (line.empty())
        return std::nullopt;
    // The bracketed layout needs '[' first and the dash layout a digit, so one try is enough.
    const bool bracketed = line.front() == '[';
    auto header = bracketed ? LinePatterns::matchBracketed(line) : LinePatterns::matchDashed(line);
    // A bracketed "date" holding the ']' is the lazy group running past a header without a comma
    // ("[08/11/2017 10:47:45] Ravi: yes, [that] one: …"); no date reads that way.
    if (header && !(bracketed && header->date.find(']') != std::string_view::npos))
        return header;
    // The other shapes are looser, and a line of a message may take one by chance ("12/03/2021
    // 9:30 at the park - Ravi: ok"): they count only when their date reads.
    if (auto other = LinePatterns::matchOtherHeader(line)) {
        if (DateShapes::readAny(other->date, other->time, DateOrder::dayFirst) ||
            DateShapes::readAny(other->date, other->time, DateOrder::monthFirst)) {
            return other;
        }
    }
    return header;
}

LineParser::LineParser(LayoutOrders fixedOrders) : importTime_(now()) {
    for (size_t i = 0; i < orders_.size(); ++i)
        orders_[i].fixed = fixedOrders[i];
}

void LineParser::addText(std::string_view text) {
    size_t start = 0;
    while (!needsSecondPass()) {
        const void* newline = std::memchr(text.data() + start, '\n', text.size() - start);
        if (newline == nullptr) {
            addLine(text.substr(start), false, true);
            return;
        }
        const auto end = static_cast<size_t>(static_cast<const char*>(newline) - text.data());
        addLine(text.substr(start, end - start), true, true);
        start = end + 1;
    }
}

void LineParser::addLine(std::string_view line, bool beforeNewline, bool lasting) {
    if (needsSecondPass())
        return;
    size_t mark = line.find('\xE2');
    while (mark != std::string_view::npos && !isDirectionControl(line, mark)) {
        mark = line.find('\xE2', mark + 1);
    }
    if (mark != std::string_view::npos) {
        withoutMarks_.assign(line.substr(0, mark));
        for (size_t i = mark; i < line.size();) {
            if (line[i] == '\xE2' && isDirectionControl(line, i)) {
                i += 3;
            } else {
                withoutMarks_.push_back(line[i++]);
            }
        }
        line = withoutMarks_;
        lasting = false;
    }
    if (beforeNewline && !line.empty() && line.back() == '\r')
        line.remove_suffix(1);

    if (!line.empty() && mayStartHeader(line)) {
        const Layout layout = layoutOf(line);
        if (const auto header = matchHeader(line)) {
            addHeader(layout, *header, lasting);
            return;
        }
        // A line that starts like a header but names no sender is a notice of the app ("Ravi
        // left"): it is dropped rather than joined to the message before it.
        auto notice = layout == Layout::bracketed ? LinePatterns::matchBracketedNotice(line)
                                                  : LinePatterns::matchDashedNotice(line);
        if (!notice)
            notice = LinePatterns::matchOtherNotice(line);
        if (notice) {
            noteNumbers(layout, notice->date);
            if (needsSecondPass())
                return;
            if (isDroppedNotice(layout, notice->date, notice->time)) {
                addNotice(layout, notice->date, notice->time);
                return;
            }
        }
    }
    addContinuation(line);
}

void LineParser::addHeader(Layout layout, const LinePatterns::HeaderGroups& header, bool lasting) {
    noteNumbers(layout, header.date);
    if (needsSecondPass())
        return;
    const std::string_view text = NoiseRules::trimmedBody(header.body);
    if (text.empty())
        return;  // not a message, and its continuation lines belong to the one before
    closeOpenDraft();
    open_ = MessageDraft{text::trimSpacesAndTabs(header.sender),
                         text,
                         {},
                         header.date,
                         header.time,
                         settledOrder(layout),
                         layout};
    if (!lasting)
        keepOpenDraftIn(batch_);
}

void LineParser::addNotice(Layout layout, std::string_view date, std::string_view time) {
    if (settledOrder(layout))
        return;  // only the undecided comparison has a use for its date
    MessageDraft notice{{},           {},     {},  batch_.copy(date), batch_.copy(time),
                        std::nullopt, layout, true};
    if (open_) {
        noticesAfterOpen_.push_back(notice);
    } else {
        batch_.drafts.push_back(notice);
    }
}

void LineParser::closeOpenDraft() {
    if (!open_)
        return;
    batch_.drafts.push_back(*open_);
    open_.reset();
    if (!noticesAfterOpen_.empty()) {
        batch_.drafts.insert(batch_.drafts.end(), noticesAfterOpen_.begin(),
                             noticesAfterOpen_.end());
        noticesAfterOpen_.clear();
    }
}

void LineParser::keepOpenDraftIn(DraftBatch& batch) {
    open_->sender = batch.copy(open_->sender);
    open_->body = batch.copy(open_->body);
    open_->more = batch.copy(open_->more);
    open_->dateField = batch.copy(open_->dateField);
    open_->timeField = batch.copy(open_->timeField);
    for (MessageDraft& notice : noticesAfterOpen_) {
        notice.dateField = batch.copy(notice.dateField);
        notice.timeField = batch.copy(notice.timeField);
    }
}

bool LineParser::isDroppedNotice(Layout layout, std::string_view date, std::string_view time) {
    if (const std::optional<DateOrder> order = settledOrder(layout)) {
        return DateShapes::readAny(date, time, *order).has_value();
    }
    const bool dayFirst = DateShapes::readAny(date, time, DateOrder::dayFirst).has_value();
    const bool monthFirst = DateShapes::readAny(date, time, DateOrder::monthFirst).has_value();
    if (dayFirst != monthFirst)
        state(layout).noticeJudgedDayFirst = true;
    return dayFirst;
}

void LineParser::addContinuation(std::string_view line) {
    if (!open_)
        return;  // lines before the first message belong to none
    const std::string_view trimmed = text::trimSpacesAndTabs(line);
    if (trimmed.empty())
        return;
    open_->more =
        open_->more.empty() ? batch_.copy(trimmed) : batch_.copy(open_->more, "\n", trimmed);
}

void LineParser::noteNumbers(Layout layout, std::string_view dateField) {
    OrderState& order = state(layout);
    if (order.fixed || order.evidence == Evidence::dayFirst)
        return;
    const auto [first, second] = leadingNumbers(dateField);
    if (first > 12) {
        // A year written first ("2016-08-06") says nothing about the order of day and month.
        if (DateShapes::isYearFirst(dateField))
            return;
        // After a month above 12 only month-first readings were made; the day-first ones of
        // the messages since then are missing.
        if (order.evidence == Evidence::monthFirst) {
            order.secondPass = DateOrder::dayFirst;
            needsSecondPass_ = true;
        }
        order.evidence = Evidence::dayFirst;
    } else if (second > 12 && order.evidence == Evidence::none) {
        order.evidence = Evidence::monthFirst;
        if (order.noticeJudgedDayFirst) {
            order.secondPass = DateOrder::monthFirst;
            needsSecondPass_ = true;
        }
    }
}

std::optional<DateOrder> LineParser::settledOrder(Layout layout) const {
    const OrderState& order = state(layout);
    if (order.fixed)
        return order.fixed;
    switch (order.evidence) {
        case Evidence::dayFirst:
            return DateOrder::dayFirst;
        case Evidence::monthFirst:
            return DateOrder::monthFirst;
        case Evidence::none:
            break;
    }
    return std::nullopt;
}

DraftBatch LineParser::takeBatch() {
    DraftBatch done = std::move(batch_);
    batch_ = DraftBatch();
    if (open_)
        keepOpenDraftIn(batch_);
    return done;
}

DraftBatch LineParser::finish(ParseOutcome& outcome) {
    if (!needsSecondPass())
        closeOpenDraft();
    open_.reset();
    noticesAfterOpen_.clear();
    for (const Layout layout : {Layout::dashed, Layout::bracketed}) {
        LayoutOutcome& result = outcome.layouts[static_cast<size_t>(layout)];
        result.secondPassOrder = state(layout).secondPass;
        result.order = settledOrder(layout);
        result.undecidedNoticeJudgedDayFirst = state(layout).noticeJudgedDayFirst;
    }
    outcome.importTime = importTime_;
    DraftBatch last = std::move(batch_);
    batch_ = DraftBatch();
    return last;
}

}  // namespace lumenary
