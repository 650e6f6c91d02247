#include "importer/LineParser.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

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

bool isDirectionMark(std::string_view s, size_t i) {
    return i + 2 < s.size() && s[i + 1] == '\x80' && (s[i + 2] == '\x8E' || s[i + 2] == '\x8F');
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

LineParser::LineParser(std::optional<DateOrder> fixedOrder)
    : fixedOrder_(fixedOrder), importTime_(now()) {}

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
    // Exports put left-to-right and right-to-left marks around names and placeholders; they
    // must not reach any field.
    size_t mark = line.find('\xE2');
    while (mark != std::string_view::npos && !isDirectionMark(line, mark)) {
        mark = line.find('\xE2', mark + 1);
    }
    if (mark != std::string_view::npos) {
        withoutMarks_.assign(line.substr(0, mark));
        for (size_t i = mark; i < line.size();) {
            if (line[i] == '\xE2' && isDirectionMark(line, i)) {
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
        const bool bracketed = line.front() == '[';
        const auto header =
            bracketed ? LinePatterns::matchBracketed(line) : LinePatterns::matchDashed(line);
        if (header) {
            addHeader(header->date, header->time, header->sender, header->body, lasting);
            return;
        }
        // A line that starts like a header but names no sender is a notice of the app ("Ravi
        // left"): it is dropped rather than joined to the message before it.
        const auto notice = bracketed ? LinePatterns::matchBracketedNotice(line)
                                      : LinePatterns::matchDashedNotice(line);
        if (notice) {
            noteNumbers(notice->date);
            if (needsSecondPass() || isDroppedNotice(notice->date, notice->time))
                return;
        }
    }
    addContinuation(line);
}

void LineParser::addHeader(std::string_view date, std::string_view time, std::string_view sender,
                           std::string_view body, bool lasting) {
    noteNumbers(date);
    if (needsSecondPass())
        return;
    const std::string_view text = NoiseRules::trimmedBody(body);
    if (text.empty() || NoiseRules::isNoiseTrimmed(text))
        return;
    if (open_)
        batch_.drafts.push_back(*open_);
    open_ = MessageDraft{text::trimSpacesAndTabs(sender), text, date, time, settledOrder()};
    if (!lasting)
        keepOpenDraftIn(batch_);
}

void LineParser::keepOpenDraftIn(DraftBatch& batch) {
    open_->sender = batch.copy(open_->sender);
    open_->text = batch.copy(open_->text);
    open_->dateField = batch.copy(open_->dateField);
    open_->timeField = batch.copy(open_->timeField);
}

bool LineParser::isDroppedNotice(std::string_view date, std::string_view time) {
    if (const std::optional<DateOrder> order = settledOrder()) {
        return DateReader::read(date, time, *order).has_value();
    }
    const bool dayFirst = DateReader::read(date, time, DateOrder::dayFirst).has_value();
    const bool monthFirst = DateReader::read(date, time, DateOrder::monthFirst).has_value();
    if (dayFirst != monthFirst)
        noticeJudgedDayFirst_ = true;
    return dayFirst;
}

void LineParser::addContinuation(std::string_view line) {
    if (!open_)
        return;  // lines before the first message belong to none
    const std::string_view trimmed = text::trimSpacesAndTabs(line);
    if (trimmed.empty())
        return;
    open_->text = batch_.copy(open_->text, "\n", trimmed);
}

void LineParser::noteNumbers(std::string_view dateField) {
    if (fixedOrder_ || evidence_ == Evidence::dayFirst)
        return;
    const auto [first, second] = leadingNumbers(dateField);
    if (first > 12) {
        // After a month above 12 only month-first readings were made; the day-first ones of
        // the messages since then are missing.
        if (evidence_ == Evidence::monthFirst)
            secondPassOrder_ = DateOrder::dayFirst;
        evidence_ = Evidence::dayFirst;
    } else if (second > 12 && evidence_ == Evidence::none) {
        evidence_ = Evidence::monthFirst;
        if (noticeJudgedDayFirst_)
            secondPassOrder_ = DateOrder::monthFirst;
    }
}

std::optional<DateOrder> LineParser::settledOrder() const {
    if (fixedOrder_)
        return fixedOrder_;
    switch (evidence_) {
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
    if (open_ && !needsSecondPass())
        batch_.drafts.push_back(*open_);
    open_.reset();
    outcome.secondPassOrder = secondPassOrder_;
    outcome.order = settledOrder();
    outcome.undecidedNoticeJudgedDayFirst = noticeJudgedDayFirst_;
    outcome.importTime = importTime_;
    DraftBatch last = std::move(batch_);
    batch_ = DraftBatch();
    return last;
}

}  // namespace lumenary
