#include "importer/DateReader.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <array>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <string>

#include "text/TextRules.h"

// The ten formats are read here by hand rather than by ICU's SimpleDateFormat: a formatter costs
// microseconds per message, and ICU 72 (Debian 12) rejects one-digit days and minutes under "dd"
// and "mm" in strict mode, which ICU 73 fixed and which the exports of older phones use
// ("1/3/21, 9:05"). Everything else follows ICU's strict parse, step by step:
// - a numeric field skips leading white space, then reads an optional minus sign and decimal
//   digits of any script; a value out of the field's range fails the format;
// - "/", "." , "-" and ":" must appear exactly, with no white space before them;
// - a space in the pattern needs at least one white-space character and takes all of them, so
//   a no-break space (U+00A0) or a narrow no-break space (U+202F) before "PM" reads as a space;
// - "a" takes "AM" or "PM" in any case, or only their first letter;
// - "yy" puts exactly two digits into the hundred years that start 80 years ago; any other
//   number of digits is the year as written, and "yyyy" always takes the year as written;
// - the calendar is strict: 31 April, hour 24 and wall times that the zone skips do not read;
//   dates before 15 October 1582 are on the Julian calendar, as ICU's Gregorian calendar has it;
// - the whole string must be read.
// The differential test against ICU holds this list to ICU's behaviour.

namespace lumenary::DateReader {
namespace {

using std::size_t;

constexpr long long kTooLarge = 1'000'000'000'000LL;  // past any field's range; stops overflow
constexpr long long kLastYear = 32767;

class Text {
public:
    explicit Text(std::string_view s) : s_(s) {}

    bool atEnd(size_t i) const { return i >= s_.size(); }
    size_t size() const { return s_.size(); }
    char byte(size_t i) const { return s_[i]; }

    /// The code point at `i`; `next` is where the one after it starts.
    UChar32 at(size_t i, size_t& next) const {
        return static_cast<UChar32>(text::codePointAt(s_, i, next));
    }

private:
    std::string_view s_;
};

// ICU skips both Unicode white space and its pattern white space, which adds the two direction
// marks.
bool isParseSpace(UChar32 c) {
    if (c < 0x80)
        return c == ' ' || (c >= 0x09 && c <= 0x0D);
    return c == 0x200E || c == 0x200F || u_isUWhiteSpace(c);
}

int digitValue(UChar32 c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c < 0x80 || u_charType(c) != U_DECIMAL_DIGIT_NUMBER)
        return -1;
    return u_charDigitValue(c);
}

size_t skipSpaces(const Text& text, size_t i) {
    if (text.atEnd(i))
        return i;
    const auto first = static_cast<unsigned char>(text.byte(i));
    if (first > ' ' && first < 0x80)
        return i;  // the usual case: no space at all
    while (!text.atEnd(i)) {
        size_t next = 0;
        if (!isParseSpace(text.at(i, next)))
            break;
        i = next;
    }
    return i;
}

struct Number {
    long long value = 0;
    bool twoDigitYear = false;  // exactly two digits of one UTF-16 unit each, no sign
};

// [white space] [minus] digits. A negative number fails at once: no field here takes one, and
// ICU refuses them by range. A minus before zero reads as zero, as in ICU.
std::optional<Number> readNumber(const Text& text, size_t& i) {
    // Nearly every number in an export is one to four ASCII digits followed by ASCII.
    {
        size_t end = i;
        long long value = 0;
        while (end < text.size() && end - i < 12 && text.byte(end) >= '0' &&
               text.byte(end) <= '9') {
            value = value * 10 + (text.byte(end) - '0');
            ++end;
        }
        if (end > i && end - i < 12 &&
            (text.atEnd(end) || static_cast<unsigned char>(text.byte(end)) < 0x80)) {
            const bool twoDigits = end - i == 2;
            i = end;
            return Number{value, twoDigits};
        }
    }
    size_t at = skipSpaces(text, i);
    if (text.atEnd(at))
        return std::nullopt;
    size_t next = 0;
    UChar32 c = text.at(at, next);
    const bool negative = c == '-' || c == 0x2212;
    if (negative) {
        at = next;
        if (text.atEnd(at))
            return std::nullopt;
        c = text.at(at, next);
    }
    Number number;
    int digits = 0;
    bool allInBmp = true;
    for (int value = digitValue(c); value >= 0;) {
        number.value = std::min(number.value * 10 + value, kTooLarge);
        ++digits;
        allInBmp = allInBmp && c < 0x10000;
        at = next;
        if (text.atEnd(at))
            break;
        c = text.at(at, next);
        value = digitValue(c);
    }
    if (digits == 0 || (negative && number.value != 0))
        return std::nullopt;
    number.twoDigitYear = digits == 2 && allInBmp && !negative;
    i = at;
    return number;
}

bool readLiteral(const Text& text, size_t& i, char literal) {
    if (text.atEnd(i) || text.byte(i) != literal)
        return false;
    ++i;
    return true;
}

// A space in the pattern: one or more white-space characters.
bool readSpaces(const Text& text, size_t& i) {
    const size_t end = skipSpaces(text, i);
    if (end == i)
        return false;
    i = end;
    return true;
}

// "AM"/"PM", or the narrow "a"/"p", in any case. Gives true for PM.
std::optional<bool> readAmPm(const Text& text, size_t& i) {
    size_t at = skipSpaces(text, i);
    if (text.atEnd(at))
        return std::nullopt;
    const char first = static_cast<char>(text.byte(at) | 0x20);
    if (first != 'a' && first != 'p')
        return std::nullopt;
    ++at;
    if (!text.atEnd(at) && (text.byte(at) | 0x20) == 'm')
        ++at;
    i = at;
    return first == 'p';
}

struct DatePart {
    Number first, second, year;
    size_t end = 0;  // after the ", " that joins date and time
};

std::optional<DatePart> readDatePart(const Text& text, char separator) {
    DatePart part;
    size_t i = 0;
    std::optional<Number> first = readNumber(text, i);
    if (!first || !readLiteral(text, i, separator))
        return std::nullopt;
    std::optional<Number> second = readNumber(text, i);
    if (!second || !readLiteral(text, i, separator))
        return std::nullopt;
    std::optional<Number> year = readNumber(text, i);
    if (!year || !readLiteral(text, i, ',') || !readSpaces(text, i))
        return std::nullopt;
    return DatePart{*first, *second, *year, i};
}

enum class Clock { twelveHour, twentyFourHour };

struct TimePart {
    int hour = 0;  // 0–23
    int minute = 0;
    int second = 0;
};

// The time after the date, read once for all ten formats: "h:mm" or "HH:mm", then the four
// endings the formats allow — nothing, ":ss", " a", ":ss a" — each noted if it reads to the end.
class TimeReading {
public:
    TimeReading(const Text& text, size_t i) {
        const std::optional<Number> hour = readNumber(text, i);
        if (!hour || !readLiteral(text, i, ':'))
            return;
        const std::optional<Number> minute = readNumber(text, i);
        if (!minute)
            return;
        hour_ = hour->value;
        minute_ = minute->value;
        readEnding(text, i, false);
        if (readLiteral(text, i, ':')) {
            if (const std::optional<Number> second = readNumber(text, i)) {
                second_ = second->value;
                readEnding(text, i, true);
            }
        }
    }

    /// The time as the format with this clock, with or without seconds, reads it.
    std::optional<TimePart> as(Clock clock, bool withSeconds) const {
        const Ending& ending = endings_[withSeconds ? 1 : 0];
        TimePart time;
        if (clock == Clock::twelveHour) {
            if (!ending.amPm)
                return std::nullopt;
            // "12" is the first hour of its half of the day; 13 and later are not 12-hour hours.
            const long long hour = hour_ == 12 ? 0 : hour_;
            if (hour > 11)
                return std::nullopt;
            time.hour = static_cast<int>(hour) + (*ending.amPm ? 12 : 0);
        } else {
            if (!ending.bare || hour_ > 23)
                return std::nullopt;
            time.hour = static_cast<int>(hour_);
        }
        if (minute_ > 59 || (withSeconds && second_ > 59))
            return std::nullopt;
        time.minute = static_cast<int>(minute_);
        time.second = withSeconds ? static_cast<int>(second_) : 0;
        return time;
    }

private:
    struct Ending {
        bool bare = false;         // the text ends here
        std::optional<bool> amPm;  // " AM" or " PM" (true) ends the text here
    };

    void readEnding(const Text& text, size_t i, bool withSeconds) {
        Ending& ending = endings_[withSeconds ? 1 : 0];
        ending.bare = text.atEnd(i);
        if (!readSpaces(text, i))
            return;
        const std::optional<bool> pm = readAmPm(text, i);
        if (pm && text.atEnd(i))
            ending.amPm = pm;
    }

    long long hour_ = 0, minute_ = 0, second_ = 0;
    Ending endings_[2];
};

bool isLeapYear(long long year) {
    // Julian leap years before the Gregorian reform, as ICU's calendar counts them.
    if (year < 1582)
        return year % 4 == 0;
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int monthLength(long long year, int month) {
    static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[static_cast<size_t>(month - 1)];
}

// The proleptic Gregorian date of the same day as Julian calendar date y-m-d (y >= 1).
CivilTime julianToGregorian(int year, int month, int day) {
    const int a = (14 - month) / 12;
    const long long y = year + 4800 - a;
    const int m = month + 12 * a - 3;
    const long long julianDayNumber = day + (153 * m + 2) / 5 + 365 * y + y / 4 - 32083;
    constexpr long long kJulianDayOfUnixEpoch = 2440588;
    const std::chrono::sys_days days{std::chrono::days{julianDayNumber - kJulianDayOfUnixEpoch}};
    const std::chrono::year_month_day ymd{days};
    return CivilTime{static_cast<int>(ymd.year()),
                     static_cast<int>(static_cast<unsigned>(ymd.month())),
                     static_cast<int>(static_cast<unsigned>(ymd.day()))};
}

// LocalTime::fromCivil, with the offset of whole days remembered: a chat has hundreds of messages
// a day, and on nearly every day the zone's offset never changes. A day counts as such when its
// start, its end and three times between all have the same offset; that misses only two changes
// that undo each other within six hours, which no zone has made.
std::optional<Timestamp> inMachineZone(const CivilTime& civil) {
    using namespace std::chrono;
    const auto dayNumber =
        sys_days{year{civil.year} / civil.month / civil.day}.time_since_epoch().count();
    struct Day {
        long long number = LLONG_MIN;
        std::optional<long long> offset;  // local minus UTC, when constant all day
    };
    thread_local std::array<Day, 4> days;  // a few, for the two readings of undecided orders
    Day& cached = days[static_cast<size_t>(dayNumber) % days.size()];
    if (cached.number != dayNumber) {
        cached.number = dayNumber;
        cached.offset.reset();
        std::optional<long long> offset;
        bool constant = true;
        for (const int seconds : {0, 6 * 3600, 12 * 3600, 18 * 3600, 86399}) {
            CivilTime sample = civil;
            sample.hour = seconds / 3600;
            sample.minute = seconds / 60 % 60;
            sample.second = seconds % 60;
            const std::optional<Timestamp> moment = LocalTime::fromCivil(sample);
            const long long local = static_cast<long long>(dayNumber) * 86400 + seconds;
            if (!moment || (offset && *offset != local - static_cast<long long>(*moment))) {
                constant = false;
                break;
            }
            offset = local - static_cast<long long>(*moment);
        }
        if (constant)
            cached.offset = offset;
    }
    if (!cached.offset)
        return LocalTime::fromCivil(civil);
    const long long local = static_cast<long long>(dayNumber) * 86400 + civil.hour * 3600 +
                            civil.minute * 60 + civil.second;
    return static_cast<Timestamp>(local - *cached.offset);
}

std::optional<Timestamp> momentOf(long long year, long long month, long long day,
                                  const TimePart& time) {
    // The calendar arithmetic (std::chrono) ends with year 32767; ICU would go on to 5828962,
    // which no export carries.
    if (year < 1 || year > kLastYear || month < 1 || month > 12 || day < 1 ||
        day > monthLength(year, static_cast<int>(month))) {
        return std::nullopt;
    }
    const int y = static_cast<int>(year), m = static_cast<int>(month), d = static_cast<int>(day);
    const bool beforeReform = y < 1582 || (y == 1582 && (m < 10 || (m == 10 && d < 15)));
    CivilTime civil = beforeReform ? julianToGregorian(y, m, d) : CivilTime{y, m, d};
    civil.hour = time.hour;
    civil.minute = time.minute;
    civil.second = time.second;
    return inMachineZone(civil);
}

// Two-digit years land in the hundred years that start 80 years before now, to the second.
struct CenturyWindow {
    int startYear = 0;
    Timestamp start = 0;
};

const CenturyWindow& centuryWindow() {
    static const CenturyWindow window = [] {
        const Timestamp current = now();
        CivilTime then = LocalTime::civil(current);
        then.year = LocalTime::twoDigitYearWindowStart();
        if (then.month == 2 && then.day == 29 && !isLeapYear(then.year))
            then.day = 28;
        const std::optional<Timestamp> start = LocalTime::fromCivil(then);
        constexpr double kSecondsPerYear = 365.2425 * 86400;
        return CenturyWindow{then.year, start ? *start + (current - std::floor(current))
                                              : current - 80 * kSecondsPerYear};
    }();
    return window;
}

enum class YearDigits { two, four };

std::optional<Timestamp> momentWithYear(const Number& year, YearDigits digits, long long month,
                                        long long day, const TimePart& time) {
    if (digits == YearDigits::four || !year.twoDigitYear) {
        return momentOf(year.value, month, day, time);
    }
    const CenturyWindow& window = centuryWindow();
    const int ambiguous = window.startYear % 100;
    const long long twoDigits = year.value;
    if (twoDigits != ambiguous) {
        const long long full =
            window.startYear / 100 * 100 + twoDigits + (twoDigits < ambiguous ? 100 : 0);
        return momentOf(full, month, day, time);
    }
    // The window's first year occurs twice in it: early in the year it is the next century's.
    const std::optional<Timestamp> early = momentOf(window.startYear, month, day, time);
    if (early && *early < window.start)
        return momentOf(window.startYear + 100, month, day, time);
    return early;
}

struct Format {
    char separator;
    YearDigits year;
    Clock clock;
    bool withSeconds;
};

// "dd/MM/yy, h:mm:ss a", "dd/MM/yyyy, h:mm:ss a", "dd/MM/yy, HH:mm:ss", "dd/MM/yyyy, HH:mm:ss",
// "dd/MM/yy, h:mm a", "dd/MM/yyyy, h:mm a", "dd/MM/yy, HH:mm", "dd/MM/yyyy, HH:mm",
// "dd.MM.yy, HH:mm", "dd-MM-yyyy, HH:mm" — in this order.
constexpr std::array<Format, 10> kFormats = {{
    {'/', YearDigits::two, Clock::twelveHour, true},
    {'/', YearDigits::four, Clock::twelveHour, true},
    {'/', YearDigits::two, Clock::twentyFourHour, true},
    {'/', YearDigits::four, Clock::twentyFourHour, true},
    {'/', YearDigits::two, Clock::twelveHour, false},
    {'/', YearDigits::four, Clock::twelveHour, false},
    {'/', YearDigits::two, Clock::twentyFourHour, false},
    {'/', YearDigits::four, Clock::twentyFourHour, false},
    {'.', YearDigits::two, Clock::twentyFourHour, false},
    {'-', YearDigits::four, Clock::twentyFourHour, false},
}};

// readDatePart for the joined text of `dateField`. When the field holds no comma, the comma of
// the join ends the date part, which then depends on the field alone; the messages of a day share
// it, so each thread keeps the readings of the last field.
std::optional<DatePart> readDatePart(const Text& text, std::string_view dateField, char separator) {
    constexpr size_t kLongestKept = 32;
    if (dateField.size() > kLongestKept || dateField.find(',') != std::string_view::npos) {
        return readDatePart(text, separator);
    }
    struct LastField {
        std::array<char, kLongestKept> bytes{};
        size_t length = kLongestKept + 1;  // matches nothing
        std::array<std::optional<std::optional<DatePart>>, 3> bySeparator;
    };
    thread_local LastField last;
    if (dateField != std::string_view(last.bytes.data(), std::min(last.length, kLongestKept)) ||
        dateField.size() != last.length) {
        std::copy(dateField.begin(), dateField.end(), last.bytes.begin());
        last.length = dateField.size();
        last.bySeparator = {};
    }
    auto& reading = last.bySeparator[separator == '/' ? 0 : separator == '.' ? 1 : 2];
    if (!reading)
        reading = readDatePart(text, separator);
    std::optional<DatePart> part = *reading;
    if (part)
        part->end = skipSpaces(text, dateField.size() + 2);  // the time field may differ
    return part;
}

// The shape nearly every export writes, in ASCII with single spaces: "D/M/YY" or "D/M/YYYY", and
// "h:mm" or "h:mm:ss", perhaps followed by " AM" or " PM" in any case. Only the two formats with
// its clock and seconds can read it (no other separator or ending fits), the two-digit year
// first, so it needs no search. Nothing when the fields have another shape.
std::optional<std::optional<Timestamp>> readCommonShape(std::string_view date,
                                                        std::string_view time, DateOrder order) {
    auto number = [](std::string_view s, size_t& i, size_t shortest, size_t longest,
                     long long& value) {
        const size_t start = i;
        value = 0;
        while (i < s.size() && i - start < longest && s[i] >= '0' && s[i] <= '9') {
            value = value * 10 + (s[i++] - '0');
        }
        return i - start >= shortest && (i == s.size() || s[i] < '0' || s[i] > '9');
    };
    long long first = 0, second = 0, year = 0, hour = 0, minute = 0, seconds = 0;
    size_t i = 0;
    if (!number(date, i, 1, 2, first) || i == date.size() || date[i++] != '/' ||
        !number(date, i, 1, 2, second) || i == date.size() || date[i++] != '/') {
        return std::nullopt;
    }
    const size_t yearStart = i;
    if (!number(date, i, 2, 4, year) || i != date.size())
        return std::nullopt;
    const Number yearNumber{year, i - yearStart == 2};
    i = 0;
    if (!number(time, i, 1, 2, hour) || i == time.size() || time[i++] != ':' ||
        !number(time, i, 2, 2, minute)) {
        return std::nullopt;
    }
    const bool withSeconds = i < time.size() && time[i] == ':';
    if (withSeconds && !number(time, ++i, 2, 2, seconds))
        return std::nullopt;
    std::optional<bool> pm;
    if (i < time.size()) {
        if (time.size() - i != 3 || time[i] != ' ')
            return std::nullopt;
        const char half = static_cast<char>(time[i + 1] | 0x20);
        if ((half != 'a' && half != 'p') || (time[i + 2] | 0x20) != 'm')
            return std::nullopt;
        pm = half == 'p';
    }
    TimePart clock;
    if (pm) {
        const long long h = hour == 12 ? 0 : hour;  // see TimeReading::as
        if (h > 11)
            return std::optional<Timestamp>();
        clock.hour = static_cast<int>(h) + (*pm ? 12 : 0);
    } else {
        if (hour > 23)
            return std::optional<Timestamp>();
        clock.hour = static_cast<int>(hour);
    }
    if (minute > 59 || seconds > 59)
        return std::optional<Timestamp>();
    clock.minute = static_cast<int>(minute);
    clock.second = static_cast<int>(seconds);
    const bool dayFirst = order == DateOrder::dayFirst;
    for (const YearDigits digits : {YearDigits::two, YearDigits::four}) {
        if (auto moment = momentWithYear(yearNumber, digits, dayFirst ? second : first,
                                         dayFirst ? first : second, clock)) {
            return moment;
        }
    }
    return std::optional<Timestamp>();
}

std::optional<Timestamp> readJoined(const Text& text, std::string_view dateField, DateOrder order) {
    // Eight formats share the slashed date and every format the time after it: each is read
    // once per separator.
    char separator = 0;
    std::optional<DatePart> part;
    std::optional<TimeReading> time;
    for (const Format& format : kFormats) {
        if (format.separator != separator) {
            separator = format.separator;
            part = readDatePart(text, dateField, separator);
            if (part)
                time.emplace(text, part->end);
        }
        if (!part)
            continue;
        const std::optional<TimePart> clock = time->as(format.clock, format.withSeconds);
        if (!clock)
            continue;
        const bool dayFirst = order == DateOrder::dayFirst;
        const long long day = dayFirst ? part->first.value : part->second.value;
        const long long month = dayFirst ? part->second.value : part->first.value;
        if (auto moment = momentWithYear(part->year, format.year, month, day, *clock)) {
            return moment;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Timestamp> momentOf(const WrittenDate& written) {
    if (written.hour < 0 || written.hour > 23 || written.minute < 0 || written.minute > 59 ||
        written.second < 0 || written.second > 59 ||
        (written.twoDigitYear && (written.year < 0 || written.year > 99))) {
        return std::nullopt;
    }
    const Number year{written.year, written.twoDigitYear};
    const TimePart time{written.hour, written.minute, written.second};
    return momentWithYear(year, YearDigits::two, written.month, written.day, time);
}

std::optional<Timestamp> read(std::string_view dateField, std::string_view timeField,
                              DateOrder order) {
    if (const auto common = readCommonShape(dateField, timeField, order))
        return *common;
    // Header fields are short; join them on the stack and fall back to the heap for odd ones.
    // Messages sent in the same minute (or second) share their header date, so each thread
    // keeps its last answer.
    constexpr size_t kInline = 96;
    struct LastReading {
        std::array<char, kInline> text{};
        size_t length = kInline + 1;  // matches nothing
        DateOrder order = DateOrder::dayFirst;
        std::optional<Timestamp> moment;
    };
    thread_local LastReading last;

    const size_t length = dateField.size() + 2 + timeField.size();
    if (length > kInline) {
        std::string joined;
        joined.reserve(length);
        joined.append(dateField).append(", ").append(timeField);
        return readJoined(Text(joined), dateField, order);
    }
    std::array<char, kInline> buffer;
    char* out = std::copy(dateField.begin(), dateField.end(), buffer.data());
    *out++ = ',';
    *out++ = ' ';
    std::copy(timeField.begin(), timeField.end(), out);
    const std::string_view joined(buffer.data(), length);
    if (length == last.length && order == last.order &&
        joined == std::string_view(last.text.data(), length)) {
        return last.moment;
    }
    last.moment = readJoined(Text(joined), dateField, order);
    last.text = buffer;
    last.length = length;
    last.order = order;
    return last.moment;
}

}  // namespace lumenary::DateReader
