#include "importer/DateShapes.h"

#include <unicode/uchar.h>

#include <array>
#include <cstdint>

#include "text/TextRules.h"

// A whole export may be written in one of these shapes, so every message of a million-message
// chat can come through here: the fields are read in place, byte by byte, and ICU is asked about
// a character only when it is not ASCII (digits of other scripts, no-break spaces). The calendar,
// the two-digit-year window and the time-zone offsets cached per day are DateReader's, so both
// readers agree on which moment a date names.

namespace lumenary::DateShapes {
namespace {

using std::size_t;

struct Number {
    long long value = 0;
    int digits = 0;
    bool outsideBmp = false;  // a digit past U+FFFF: ICU counts it as two, so never "yy"
};

// Arabic phones put a right-to-left mark (U+200F) beside each separator of a date so the
// numbers stay in order on screen; the marks are invisible and say nothing about the date.
bool isDirectionMark(char32_t c) {
    return c == 0x200E || c == 0x200F || c == 0x061C;
}

bool isSpace(char32_t c) {
    if (c < 0x80)
        return c == ' ' || (c >= 0x09 && c <= 0x0D);
    return isDirectionMark(c) || u_isUWhiteSpace(static_cast<UChar32>(c));
}

int digitValue(char32_t c) {
    if (c >= '0' && c <= '9')
        return static_cast<int>(c - '0');
    const auto point = static_cast<UChar32>(c);
    if (c < 0x80 || u_charType(point) != U_DECIMAL_DIGIT_NUMBER)
        return -1;
    return u_charDigitValue(point);
}

class Cursor {
public:
    explicit Cursor(std::string_view s) : s_(s) {}

    bool atEnd() const { return i_ >= s_.size(); }
    std::string_view rest() const { return s_.substr(i_); }
    void advance(size_t bytes) { i_ += bytes; }

    void skipSpaces() {
        while (!atEnd()) {
            size_t next = 0;
            if (!isSpace(text::codePointAt(s_, i_, next)))
                return;
            i_ = next;
        }
    }

    void skipDirectionMarks() {
        while (!atEnd() && static_cast<unsigned char>(s_[i_]) >= 0x80) {
            size_t next = 0;
            if (!isDirectionMark(text::codePointAt(s_, i_, next)))
                return;
            i_ = next;
        }
    }

    bool take(char c) {
        if (atEnd() || s_[i_] != c)
            return false;
        ++i_;
        return true;
    }

    /// An ASCII letter in either case; `lower` is its lower-case form.
    bool takeLetter(char lower) {
        if (atEnd() || (s_[i_] | 0x20) != lower)
            return false;
        ++i_;
        return true;
    }

    /// A run of decimal digits of any script, or nothing when there is none. The value stops
    /// growing past any field's range; the caller judges the number of digits.
    std::optional<Number> number() {
        Number number;
        while (!atEnd()) {
            const auto byte = static_cast<unsigned char>(s_[i_]);
            size_t next = i_ + 1;
            int value = -1;
            if (byte >= '0' && byte <= '9')
                value = byte - '0';
            else if (byte >= 0x80)
                value = digitValue(text::codePointAt(s_, i_, next));
            if (value < 0)
                break;
            number.outsideBmp = number.outsideBmp || next - i_ == 4;
            if (number.digits < 9)
                number.value = number.value * 10 + value;
            ++number.digits;
            i_ = next;
        }
        if (number.digits == 0)
            return std::nullopt;
        return number;
    }

private:
    std::string_view s_;
    size_t i_ = 0;
};

bool isDateSeparator(char c) {
    return c == '/' || c == '.' || c == '-';
}

bool hasDigits(const Number& number, int fewest, int most) {
    return number.digits >= fewest && number.digits <= most;
}

// "d/M/yy", "M.d.yyyy", "yyyy-MM-dd"...: three numbers joined by the same separator twice.
bool readDate(std::string_view field, DateOrder order, DateReader::WrittenDate& written) {
    Cursor date(field);
    date.skipSpaces();
    const std::optional<Number> first = date.number();
    date.skipDirectionMarks();
    if (!first || date.atEnd() || !isDateSeparator(date.rest().front()))
        return false;
    const char separator = date.rest().front();
    date.advance(1);
    date.skipDirectionMarks();
    const std::optional<Number> second = date.number();
    date.skipDirectionMarks();
    if (!second || !date.take(separator))
        return false;
    date.skipDirectionMarks();
    const std::optional<Number> third = date.number();
    date.skipSpaces();
    if (!third || !date.atEnd() || !hasDigits(*second, 1, 2))
        return false;
    if (hasDigits(*first, 3, 4)) {
        // Year first is always year, month, day, whatever order the rest of the file uses.
        if (!hasDigits(*third, 1, 2))
            return false;
        written.year = first->value;
        written.twoDigitYear = false;
        written.month = second->value;
        written.day = third->value;
        return true;
    }
    if (!hasDigits(*first, 1, 2) || !hasDigits(*third, 2, 4))
        return false;
    const bool dayFirst = order == DateOrder::dayFirst;
    written.year = third->value;
    written.twoDigitYear = third->digits == 2 && !third->outsideBmp;
    written.day = dayFirst ? first->value : second->value;
    written.month = dayFirst ? second->value : first->value;
    return true;
}

struct DayPeriodWord {
    std::string_view word;
    bool pm;
};

// Day periods whose letters are not Latin, as phones in these languages write them after the time.
constexpr std::array<DayPeriodWord, 4> kDayPeriodWords = {{
    {"\u0635", false},          // Arabic: ص, morning
    {"\u0645", true},           // Arabic: م, evening
    {"\u03C0.\u03BC.", false},  // Greek: π.μ., before noon
    {"\u03BC.\u03BC.", true},   // Greek: μ.μ., after noon
}};

// "am", "PM", "a", "p.m.", "p. m." (any white space after the first dot), "A.M." or one of the
// words above. Gives true for the afternoon half of the day.
std::optional<bool> readDayPeriod(Cursor& time) {
    bool pm = false;
    if (time.takeLetter('p')) {
        pm = true;
    } else if (!time.takeLetter('a')) {
        for (const DayPeriodWord& word : kDayPeriodWords) {
            if (time.rest().starts_with(word.word)) {
                time.advance(word.word.size());
                return word.pm;
            }
        }
        return std::nullopt;
    }
    if (time.take('.')) {
        time.skipSpaces();
        if (!time.takeLetter('m'))
            return std::nullopt;
        time.take('.');
        return pm;
    }
    time.takeLetter('m');
    return pm;
}

// "H:mm", "h:mm:ss", "H.mm.ss", each perhaps followed by a day period.
bool readTime(std::string_view field, DateReader::WrittenDate& written) {
    Cursor time(field);
    time.skipSpaces();
    const std::optional<Number> hour = time.number();
    if (!hour || !hasDigits(*hour, 1, 2) || time.atEnd())
        return false;
    const char separator = time.rest().front();
    if (separator != ':' && separator != '.')
        return false;
    time.advance(1);
    const std::optional<Number> minute = time.number();
    if (!minute || !hasDigits(*minute, 1, 2))
        return false;
    long long second = 0;
    if (time.take(separator)) {
        const std::optional<Number> seconds = time.number();
        if (!seconds || !hasDigits(*seconds, 1, 2))
            return false;
        second = seconds->value;
    }
    time.skipSpaces();
    long long hours = hour->value;
    if (!time.atEnd()) {
        const std::optional<bool> pm = readDayPeriod(time);
        time.skipSpaces();
        if (!pm || !time.atEnd())
            return false;
        // 12 starts its half of the day; 0 reads as 12 does, as the ten formats read it.
        if (hours == 12)
            hours = 0;
        if (hours > 11)
            return false;
        hours += *pm ? 12 : 0;
    }
    if (hours > 23 || minute->value > 59 || second > 59)
        return false;
    written.hour = static_cast<int>(hours);
    written.minute = static_cast<int>(minute->value);
    written.second = static_cast<int>(second);
    return true;
}

}  // namespace

std::optional<Timestamp> read(std::string_view dateField, std::string_view timeField,
                              DateOrder order) {
    DateReader::WrittenDate written;
    if (!readDate(dateField, order, written) || !readTime(timeField, written))
        return std::nullopt;
    return DateReader::momentOf(written);
}

std::optional<Timestamp> readAny(std::string_view dateField, std::string_view timeField,
                                 DateOrder order) {
    // None of the ten formats has a dot in its time, so a dotted time ("9:29 p. m.", "21.25")
    // after a date without a comma (which would end the date part early) skips them.
    const bool tenFormatsCannotRead = timeField.find('.') != std::string_view::npos &&
                                      dateField.find(',') == std::string_view::npos;
    if (tenFormatsCannotRead)
        return read(dateField, timeField, order);
    const std::optional<Timestamp> moment = DateReader::read(dateField, timeField, order);
    // "dd-MM-yyyy" and "dd/MM/yyyy" take a year written with two digits as it stands ("12-03-21"
    // is the year 21), where no chat was ever written: such a date reads as a person reads it.
    constexpr Timestamp kYear100 = -59011459200;  // 1 January 100, UTC
    if (moment && *moment >= kYear100)
        return moment;
    if (const std::optional<Timestamp> shaped = read(dateField, timeField, order))
        return shaped;
    return moment;
}

bool isYearFirst(std::string_view dateField) {
    Cursor date(dateField);
    date.skipSpaces();
    const std::optional<Number> first = date.number();
    date.skipDirectionMarks();
    return first && hasDigits(*first, 3, 4) && !date.atEnd() &&
           isDateSeparator(date.rest().front());
}

}  // namespace lumenary::DateShapes
