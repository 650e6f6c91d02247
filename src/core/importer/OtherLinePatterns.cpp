#include <unicode/uchar.h>

#include <algorithm>
#include <array>

#include "importer/LinePatterns.h"
#include "text/TextRules.h"

// How a line of the other shapes is read.
//
// Every part of the start of the line (date, joint, time, day period, ending) allows only one
// way to split it: digit runs are whole or fail, a day period starts with a letter and the
// ending that follows it starts with ']', ':' or white space, none of which a period can end
// with. So the start is read left to right without backtracking, and most lines that are not
// headers ("5 minutes late", "2 eggs") fail at their second or third byte.
//
// The sender keeps the rules of the other layouts: it ends at the first colon, holds 1 to 60
// code points, and when the colon comes right after the white space that ends the start, that
// white space gives its last character to the sender (as a backtracking regex would). The body
// is the rest of the line after the colon and the white space that follows it.

namespace lumenary::LinePatterns {
namespace {

using std::size_t;

constexpr int kLongestSender = 60;  // code points
// Longer than any day period a phone writes ("p. m.", "nachm.", Thai "ก่อนเที่ยง"), short enough
// that "12/03/2021 9:30 at the old bus stand - Ravi: ok" is not taken for a header.
constexpr int kLongestDayPeriod = 12;  // code points

// Words that some languages write between the date and the time, always with white space after.
constexpr std::array<std::string_view, 1> kConnectors = {
    "klo",  // Finnish: "23.3.2020 klo 12.14"
};

struct Span {
    size_t begin = 0;
    size_t end = 0;
};

UChar32 codePointAt(std::string_view s, size_t i, size_t& next) {
    return static_cast<UChar32>(text::codePointAt(s, i, next));
}

// White space as the other layouts take it: the White_Space property.
bool isSpace(UChar32 c) {
    if (c < 0x80)
        return c == ' ' || (c >= 0x09 && c <= 0x0D);
    return u_isUWhiteSpace(c);
}

bool isDigit(UChar32 c) {
    if (c < 0x80)
        return c >= '0' && c <= '9';
    return u_charType(c) == U_DECIMAL_DIGIT_NUMBER;
}

bool isLetter(UChar32 c) {
    if (c < 0x80)
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return (U_GET_GC_MASK(c) & U_GC_L_MASK) != 0;
}

// Letters with their marks: the day periods of Indic scripts carry vowel signs and viramas.
bool isLetterOrMark(UChar32 c) {
    if (c < 0x80)
        return isLetter(c);
    return (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_M_MASK)) != 0;
}

// The spaces a phone writes inside a day period ("p. m.", "p.\u00A0m.").
bool isInnerSpace(UChar32 c) {
    return c == ' ' || c == 0xA0 || c == 0x202F;
}

bool isTimeSeparator(char c) {
    return c == ':' || c == '.';
}

bool isDateSeparator(char c) {
    return c == '/' || c == '.' || c == '-';
}

size_t skipSpaces(std::string_view s, size_t i) {
    while (i < s.size()) {
        size_t next = 0;
        if (!isSpace(codePointAt(s, i, next)))
            break;
        i = next;
    }
    return i;
}

bool spaceAt(std::string_view s, size_t i) {
    size_t next = 0;
    return i < s.size() && isSpace(codePointAt(s, i, next));
}

bool digitAt(std::string_view s, size_t i) {
    size_t next = 0;
    return i < s.size() && isDigit(codePointAt(s, i, next));
}

// The start of the code point that ends at `i`, inside a run of white space (always well-formed).
size_t previous(std::string_view s, size_t i) {
    do {
        --i;
    } while (i > 0 && (static_cast<unsigned char>(s[i]) & 0xC0) == 0x80);
    return i;
}

// The digits from `i`: their count, with `i` moved past them. A run must be taken whole: what
// follows any part of it is another digit, which nothing in these shapes accepts.
int digitRun(std::string_view s, size_t& i) {
    int count = 0;
    while (i < s.size()) {
        size_t next = 0;
        if (!isDigit(codePointAt(s, i, next)))
            break;
        ++count;
        i = next;
    }
    return count;
}

bool digitRunIn(std::string_view s, size_t& i, int shortest, int longest) {
    const int count = digitRun(s, i);
    return count >= shortest && count <= longest;
}

// \d{1,4}[/.-]\d{1,2}[/.-]\d{2,4} from `i`: where it ends, or npos.
size_t dateEnd(std::string_view s, size_t i) {
    if (!digitRunIn(s, i, 1, 4) || i >= s.size() || !isDateSeparator(s[i]))
        return std::string_view::npos;
    ++i;
    if (!digitRunIn(s, i, 1, 2) || i >= s.size() || !isDateSeparator(s[i]))
        return std::string_view::npos;
    ++i;
    if (!digitRunIn(s, i, 2, 4))
        return std::string_view::npos;
    return i;
}

// Between date and time: an optional comma, white space, and an optional connector word with
// white space after it; a comma or at least one space must come before the time or the word.
// Where the time starts, or npos.
size_t jointEnd(std::string_view s, size_t i) {
    const bool comma = i < s.size() && s[i] == ',';
    if (comma)
        ++i;
    const size_t afterSpaces = skipSpaces(s, i);
    if (!comma && afterSpaces == i)
        return std::string_view::npos;
    i = afterSpaces;
    if (i >= s.size() || static_cast<unsigned char>(s[i]) <= '9')
        return i;  // a digit, or nothing a connector starts with
    for (const std::string_view word : kConnectors) {
        if (s.substr(i).starts_with(word)) {
            const size_t after = skipSpaces(s, i + word.size());
            if (after > i + word.size())
                return after;
        }
    }
    return i;
}

// h[:.]mm([:.]ss)? from `i`: where its digits end, or npos.
size_t timeDigitsEnd(std::string_view s, size_t i) {
    if (!digitRunIn(s, i, 1, 2) || i >= s.size() || !isTimeSeparator(s[i]))
        return std::string_view::npos;
    ++i;
    if (!digitRunIn(s, i, 2, 2))
        return std::string_view::npos;
    if (i + 1 < s.size() && isTimeSeparator(s[i]) && digitAt(s, i + 1)) {
        ++i;
        if (!digitRunIn(s, i, 2, 2))
            return std::string_view::npos;
    }
    return i;
}

// A day period from `i` (a letter): where its last letter or dot ends, or npos when it is longer
// than any real one.
size_t dayPeriodEnd(std::string_view s, size_t i) {
    size_t end = i;
    int length = 0;
    while (i < s.size()) {
        size_t next = 0;
        const UChar32 c = codePointAt(s, i, next);
        const bool solid = c == '.' || isLetterOrMark(c);
        if (!solid && !isInnerSpace(c))
            break;
        ++length;
        if (solid) {
            if (length > kLongestDayPeriod)
                return std::string_view::npos;
            end = next;
        }
        i = next;
    }
    return end;
}

// Everything before the sender.
struct Start {
    Span date;
    Span time;
    size_t after = 0;        // just past the ending's "]", "-" or ":"
    bool needSpace = false;  // the ending must keep one white-space character after that
};

std::optional<Start> matchStart(std::string_view s) {
    const size_t n = s.size();
    const bool bracketed = n > 0 && s[0] == '[';
    Start start;
    start.date.begin = bracketed ? 1 : 0;
    start.date.end = dateEnd(s, start.date.begin);
    if (start.date.end == std::string_view::npos)
        return std::nullopt;
    start.time.begin = jointEnd(s, start.date.end);
    if (start.time.begin == std::string_view::npos)
        return std::nullopt;
    size_t i = timeDigitsEnd(s, start.time.begin);
    if (i == std::string_view::npos)
        return std::nullopt;
    const size_t periodBegin = skipSpaces(s, i);
    if (periodBegin < n) {
        size_t next = 0;
        if (isLetter(codePointAt(s, periodBegin, next))) {
            i = dayPeriodEnd(s, periodBegin);
            if (i == std::string_view::npos)
                return std::nullopt;
        }
    }
    start.time.end = i;

    if (bracketed) {
        // The bracket closes right after the time.
        if (i >= n || s[i] != ']')
            return std::nullopt;
        start.after = i + 1;
        return start;
    }
    start.needSpace = true;
    if (i < n && s[i] == ':') {
        // The old layout, whose times always have seconds: a person typing "12/03/2021 9:30:
        // meet at the station" on a line of her message writes none. The white space after the
        // colon keeps "10:47:45" from reading as a time of "10:47" and this colon.
        const auto timeText = s.substr(start.time.begin, i - start.time.begin);
        const bool withSeconds =
            std::count_if(timeText.begin(), timeText.end(), isTimeSeparator) == 2;
        if (!withSeconds || !spaceAt(s, i + 1))
            return std::nullopt;
        start.after = i + 1;
        return start;
    }
    const size_t dash = skipSpaces(s, i);
    if (dash == i || dash >= n || s[dash] != '-' || !spaceAt(s, dash + 1))
        return std::nullopt;
    start.after = dash + 1;
    return start;
}

HeaderGroups groupsOf(std::string_view s, const Start& start, Span sender, size_t bodyBegin) {
    return HeaderGroups{s.substr(start.date.begin, start.date.end - start.date.begin),
                        s.substr(start.time.begin, start.time.end - start.time.begin),
                        s.substr(sender.begin, sender.end - sender.begin), s.substr(bodyBegin)};
}

}  // namespace

std::optional<HeaderGroups> matchOtherHeader(std::string_view s) {
    const std::optional<Start> start = matchStart(s);
    if (!start)
        return std::nullopt;
    const size_t n = s.size();
    const size_t m = skipSpaces(s, start->after);
    Span sender{m, m};
    if (m < n && s[m] == ':') {
        // The sender needs one character: the white space gives its last one back, as long as
        // the ending keeps the one it needs.
        if (m == start->after)
            return std::nullopt;
        sender.begin = previous(s, m);
        if (start->needSpace && sender.begin == start->after)
            return std::nullopt;
    } else {
        int length = 0;
        while (sender.end < n && s[sender.end] != ':') {
            if (++length > kLongestSender)
                return std::nullopt;
            size_t next = 0;
            codePointAt(s, sender.end, next);
            sender.end = next;
        }
        if (sender.end >= n)
            return std::nullopt;
    }
    return groupsOf(s, *start, sender, skipSpaces(s, sender.end + 1));
}

std::optional<NoticeGroups> matchOtherNotice(std::string_view s) {
    const std::optional<Start> start = matchStart(s);
    if (!start)
        return std::nullopt;
    return NoticeGroups{s.substr(start->date.begin, start->date.end - start->date.begin),
                        s.substr(start->time.begin, start->time.end - start->time.begin)};
}

}  // namespace lumenary::LinePatterns
