#include "importer/LineParser.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "importer/LinePatterns.h"
#include "importer/NoiseRules.h"
#include "text/TextRules.h"

namespace lumenary {
namespace {

using std::size_t;

constexpr double kUnread = std::numeric_limits<double>::quiet_NaN();

// Only a line that starts with '[' or a digit can carry a header.
bool mayStartHeader(std::string_view line) {
    const auto first = static_cast<unsigned char>(line.front());
    if (first == '[' || (first >= '0' && first <= '9')) return true;
    if (first < 0x80) return false;
    UChar32 c = 0;
    size_t i = 0;
    U8_NEXT_OR_FFFD(line.data(), i, line.size(), c);
    return u_charType(c) == U_DECIMAL_DIGIT_NUMBER;
}

// The value of a field made only of decimal digits (any script), or -1. Values stop growing at
// 1000: only "above 12" matters.
long long digitsValue(std::string_view field) {
    if (field.empty()) return -1;
    long long value = 0;
    for (size_t i = 0; i < field.size();) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(field.data(), i, field.size(), c);
        if (u_charType(c) != U_DECIMAL_DIGIT_NUMBER) return -1;
        value = std::min(value * 10 + u_charDigitValue(c), 1000LL);
    }
    return value;
}

// The first and second numbers of a date field: the digits before the first '/', '.' or '-',
// and those between it and the next (or the end).
std::pair<long long, long long> leadingNumbers(std::string_view date) {
    const size_t first = date.find_first_of("/.-");
    if (first == std::string_view::npos) return {-1, -1};
    const size_t second = date.find_first_of("/.-", first + 1);
    const size_t secondLength =
        second == std::string_view::npos ? std::string_view::npos : second - first - 1;
    return {digitsValue(date.substr(0, first)), digitsValue(date.substr(first + 1, secondLength))};
}

bool isDirectionMark(std::string_view s, size_t i) {
    return i + 2 < s.size() && s[i + 1] == '\x80' && (s[i + 2] == '\x8E' || s[i + 2] == '\x8F');
}

}  // namespace

void LineParser::MessageBlocks::push(ChatMessage message) {
    if (blocks_.empty() || blocks_.back().size() == blocks_.back().capacity()) {
        // Blocks grow to 65 536 messages (about 7 MB), large enough for the allocator to give
        // each its own mapping, which freeing returns to the system.
        const size_t capacity = size_t{256} << std::min<size_t>(blocks_.size(), 8);
        blocks_.emplace_back().reserve(capacity);
    }
    blocks_.back().push_back(std::move(message));
    ++size_;
}

std::vector<ChatMessage> LineParser::MessageBlocks::takeAll() {
    std::vector<ChatMessage> all;
    all.reserve(size_);
    for (auto& block : blocks_) {
        std::move(block.begin(), block.end(), std::back_inserter(all));
        std::vector<ChatMessage>().swap(block);
    }
    blocks_.clear();
    size_ = 0;
    return all;
}

LineParser::LineParser(std::optional<DateOrder> fixedOrder)
    : fixedOrder_(fixedOrder), importTime_(now()) {}

void LineParser::addText(std::string_view text) {
    size_t start = 0;
    while (!needsSecondPass()) {
        const void* newline = std::memchr(text.data() + start, '\n', text.size() - start);
        if (newline == nullptr) {
            addLine(text.substr(start), false);
            return;
        }
        const auto end = static_cast<size_t>(static_cast<const char*>(newline) - text.data());
        addLine(text.substr(start, end - start), true);
        start = end + 1;
    }
}

void LineParser::addLine(std::string_view line, bool beforeNewline) {
    if (needsSecondPass()) return;
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
    }
    if (beforeNewline && !line.empty() && line.back() == '\r') line.remove_suffix(1);

    if (!line.empty() && mayStartHeader(line)) {
        const bool bracketed = line.front() == '[';
        const auto header =
            bracketed ? LinePatterns::matchBracketed(line) : LinePatterns::matchDashed(line);
        if (header) {
            addHeader(header->date, header->time, header->sender, header->body);
            return;
        }
        // A line that starts like a header but names no sender is a notice of the app ("Ravi
        // left"): it is dropped rather than joined to the message before it.
        const auto notice = bracketed ? LinePatterns::matchBracketedNotice(line)
                                      : LinePatterns::matchDashedNotice(line);
        if (notice) {
            noteNumbers(notice->date);
            if (needsSecondPass() || isDroppedNotice(notice->date, notice->time)) return;
        }
    }
    addContinuation(line);
}

void LineParser::addHeader(std::string_view date, std::string_view time, std::string_view sender,
                           std::string_view body) {
    noteNumbers(date);
    if (needsSecondPass()) return;
    const std::string_view text = NoiseRules::trimmedBody(body);
    if (text.empty() || NoiseRules::isNoiseTrimmed(text)) return;
    double when = kUnread;
    if (const std::optional<DateOrder> order = settledOrder()) {
        when = DateReader::read(date, time, *order).value_or(kUnread);
    } else {
        when = DateReader::read(date, time, DateOrder::dayFirst).value_or(kUnread);
        monthFirstReadings_.push_back(
            DateReader::read(date, time, DateOrder::monthFirst).value_or(kUnread));
    }
    messages_.push(ChatMessage{uuids_.next(), std::string(text::trimSpacesAndTabs(sender)),
                               std::string(text), when});
}

bool LineParser::isDroppedNotice(std::string_view date, std::string_view time) {
    if (const std::optional<DateOrder> order = settledOrder()) {
        return DateReader::read(date, time, *order).has_value();
    }
    const bool dayFirst = DateReader::read(date, time, DateOrder::dayFirst).has_value();
    const bool monthFirst = DateReader::read(date, time, DateOrder::monthFirst).has_value();
    if (dayFirst != monthFirst) noticeJudgedDayFirst_ = true;
    return dayFirst;
}

void LineParser::addContinuation(std::string_view line) {
    if (messages_.empty()) return;
    const std::string_view trimmed = text::trimSpacesAndTabs(line);
    if (trimmed.empty()) return;
    std::string& text = messages_.back().text;
    text.push_back('\n');
    text.append(trimmed);
}

void LineParser::noteNumbers(std::string_view dateField) {
    if (fixedOrder_ || evidence_ == Evidence::dayFirst) return;
    const auto [first, second] = leadingNumbers(dateField);
    if (first > 12) {
        if (evidence_ == Evidence::monthFirst) {
            // The day-first readings of earlier messages are gone.
            secondPassOrder_ = DateOrder::dayFirst;
            return;
        }
        evidence_ = Evidence::dayFirst;
        std::vector<double>().swap(monthFirstReadings_);
    } else if (second > 12 && evidence_ == Evidence::none) {
        evidence_ = Evidence::monthFirst;
        adoptMonthFirstReadings();
        if (noticeJudgedDayFirst_) secondPassOrder_ = DateOrder::monthFirst;
    }
}

void LineParser::adoptMonthFirstReadings() {
    size_t i = 0;
    messages_.forEach([&](ChatMessage& message) { message.date = monthFirstReadings_[i++]; });
    std::vector<double>().swap(monthFirstReadings_);
}

std::optional<DateOrder> LineParser::settledOrder() const {
    if (fixedOrder_) return fixedOrder_;
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

std::optional<DateOrder> LineParser::finish() {
    if (secondPassOrder_) return secondPassOrder_;
    if (!settledOrder()) {
        // No number above 12 anywhere: an export is written in time order, so the reading that
        // steps back in time less often is the right one, with day first on a tie.
        long long dayFirstSteps = 0, monthFirstSteps = 0;
        double lastDayFirst = kUnread, lastMonthFirst = kUnread;
        auto step = [](double date, double& last, long long& steps) {
            if (std::isnan(date)) return;
            if (!std::isnan(last) && date < last) ++steps;
            last = date;
        };
        size_t i = 0;
        messages_.forEach([&](const ChatMessage& message) {
            step(message.date, lastDayFirst, dayFirstSteps);
            step(monthFirstReadings_[i++], lastMonthFirst, monthFirstSteps);
        });
        if (monthFirstSteps < dayFirstSteps) {
            if (noticeJudgedDayFirst_) {
                secondPassOrder_ = DateOrder::monthFirst;
                return secondPassOrder_;
            }
            adoptMonthFirstReadings();
        }
    }
    messages_.forEach([&](ChatMessage& message) {
        if (std::isnan(message.date)) message.date = importTime_;
    });
    return std::nullopt;
}

std::vector<ChatMessage> LineParser::takeMessages() {
    return messages_.takeAll();
}

}  // namespace lumenary
