#include "importer/LinePatterns.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "text/TextRules.h"

// How the backtracking of the patterns is followed without a regex engine.
//
// Lazy groups are tried shortest first and greedy runs longest first, and the first complete
// match wins, so each group is found as the first candidate, in that order, for which the rest of
// the pattern matches. Two facts keep the search linear:
// - Everything after a group's end depends only on where that end is, so "does the rest match
//   after this ']' (or this '-')" is worked out once per candidate position.
// - A greedy \s* that gives back characters can only start the next group with white space,
//   and beyond the first one or two characters given back the candidates stay the same, so only
//   those need trying.
//
// ICU's classes: \s is the White_Space property (which holds every line terminator), \d is any
// decimal digit (Nd), "." is anything but a line terminator (\n \v \f \r U+0085 U+2028 U+2029),
// and "$" matches at the end or before one final line terminator (or "\r\n"), but never between
// "\r" and "\n".

namespace lumenary::LinePatterns {
namespace {

using std::size_t;

constexpr size_t kNone = std::string_view::npos;
constexpr int kLongestSender = 60;  // code points

bool isSpace(UChar32 c) {
    if (c < 0x80)
        return c == ' ' || (c >= 0x09 && c <= 0x0D);
    return u_isUWhiteSpace(c);
}

bool isTerminator(UChar32 c) {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isDigit(UChar32 c) {
    if (c < 0x80)
        return c >= '0' && c <= '9';
    return u_charType(c) == U_DECIMAL_DIGIT_NUMBER;
}

bool isDateSeparator(char c) {
    return c == '/' || c == '.' || c == '-';
}

struct Span {
    size_t begin = 0;
    size_t end = 0;
};

// The rest of a header after the time: sender and body.
struct Rest {
    Span sender;
    Span body;
};

class Line {
public:
    explicit Line(std::string_view s) : s_(s) {}

    size_t size() const { return s_.size(); }
    char byte(size_t i) const { return s_[i]; }
    std::string_view slice(Span span) const { return s_.substr(span.begin, span.end - span.begin); }
    size_t find(char c, size_t from) const { return s_.find(c, from); }

    /// The code point at `i`; `next` is where the one after it starts.
    UChar32 at(size_t i, size_t& next) const {
        return static_cast<UChar32>(text::codePointAt(s_, i, next));
    }

    size_t next(size_t i) const {
        if (static_cast<unsigned char>(s_[i]) < 0x80)
            return i + 1;
        size_t next = 0;
        at(i, next);
        return next;
    }

    /// The start of the code point that ends at `i`. Only used inside runs of white space, whose
    /// code points are all well-formed.
    size_t previous(size_t i) const {
        do {
            --i;
        } while (i > 0 && (static_cast<unsigned char>(s_[i]) & 0xC0) == 0x80);
        return i;
    }

    size_t skipSpaces(size_t i) const {
        while (i < s_.size()) {
            size_t next = 0;
            if (!isSpace(at(i, next)))
                break;
            i = next;
        }
        return i;
    }

    bool isTerminatorAt(size_t i) const {
        size_t next = 0;
        return i < s_.size() && isTerminator(at(i, next));
    }

    /// The first line terminator at or after `from` (a code point boundary), or size().
    /// Terminators are \n \v \f \r or the UTF-8 of U+0085, U+2028, U+2029, whose lead bytes are
    /// never part of an earlier sequence, so bytes can be searched without decoding.
    size_t terminatorFrom(size_t from) {
        if (from >= cachedFrom_ && from <= cachedTerminator_)
            return cachedTerminator_;
        const auto* bytes = reinterpret_cast<const unsigned char*>(s_.data());
        const size_t n = s_.size();
        size_t i = from;
        // Eight bytes at a time while none is below 0x0E or above 0x7F.
        constexpr std::uint64_t kOnes = 0x0101010101010101ULL, kHighBits = 0x8080808080808080ULL;
        for (; i + 8 <= n; i += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes + i, 8);
            if ((((word - kOnes * 0x0E) & ~word) | word) & kHighBits)
                break;
        }
        for (; i < n; ++i) {
            const unsigned char b = bytes[i];
            if (b <= 0x0D) {
                if (b >= 0x0A)
                    break;
            } else if (b == 0xC2) {
                if (i + 1 < n && bytes[i + 1] == 0x85)
                    break;
            } else if (b == 0xE2) {
                if (i + 2 < n && bytes[i + 1] == 0x80 && (bytes[i + 2] | 1) == 0xA9)
                    break;
            }
        }
        cachedFrom_ = from;
        cachedTerminator_ = i;
        return i;
    }

    /// "$" at `b`, where `b` is the end or a line terminator.
    bool endAnchorAt(size_t b) const {
        const size_t n = s_.size();
        if (b >= n)
            return true;
        const size_t after = next(b);
        if (after == n)
            return !(s_[b] == '\n' && b > 0 && s_[b - 1] == '\r');
        return s_[b] == '\r' && s_[after] == '\n' && after + 1 == n;
    }

private:
    std::string_view s_;
    size_t cachedFrom_ = 1;  // with cachedTerminator_, an empty interval
    size_t cachedTerminator_ = 0;
};

// The part shared by both layouts: ([^:]{1,60}?):\s*(.*)$ after a run of white space.
class Matcher {
public:
    explicit Matcher(std::string_view s) : line(s) {}

    Line line;

    /// \s*([^:]{1,60}?):\s*(.*)$ from `p`, or \s+... when `needSpace`.
    std::optional<Rest> rest(size_t p, bool needSpace) {
        const size_t n = line.size();
        const size_t m = line.skipSpaces(p);
        if (needSpace && m == p)
            return std::nullopt;
        Span sender;
        if (m < n && line.byte(m) == ':') {
            // The sender needs one character: the white space gives its last one back.
            if (m == p)
                return std::nullopt;
            sender = {line.previous(m), m};
            if (needSpace && sender.begin == p)
                return std::nullopt;
        } else {
            if (m >= n)
                return std::nullopt;
            // [^:] cannot cross a colon, so the sender ends at the first one; giving back white
            // space only makes it longer, so the shortest start is the only one to try.
            size_t i = m;
            for (int length = 0; i < n && line.byte(i) != ':'; i = line.next(i)) {
                if (++length > kLongestSender)
                    return std::nullopt;
            }
            if (i >= n)
                return std::nullopt;
            sender = {m, i};
        }
        const std::optional<Span> body = bodyAfter(sender.end);
        if (!body)
            return std::nullopt;
        return Rest{sender, *body};
    }

private:
    // \s*(.*)$ after the colon at `colon`. Several senders can end at the same colon, so the last
    // answer is kept.
    std::optional<Span> bodyAfter(size_t colon) {
        if (colon != lastColon_) {
            lastColon_ = colon;
            lastBody_ = body(colon + 1);
        }
        return lastBody_;
    }

    std::optional<Span> body(size_t q) {
        // \s* takes the longest run first; each character it gives back starts (.*) earlier,
        // which ends at the first line terminator from there, and "$" must hold at that end.
        const size_t m = line.skipSpaces(q);
        size_t end = line.terminatorFrom(m);
        for (size_t begin = m;;) {
            if (line.endAnchorAt(end))
                return Span{begin, end};
            if (begin == q)
                return std::nullopt;
            begin = line.previous(begin);
            if (line.isTerminatorAt(begin))
                end = begin;
        }
    }

    size_t lastColon_ = kNone;
    std::optional<Span> lastBody_;
};

// \d{1,4}[/.-]\d{1,2}[/.-]\d{2,4}, from `start`: the position of the comma that must follow.
// A greedy \d{m,n} that gives back digits leaves a digit next, so a run of digits matches only
// when its whole length is in range.
size_t dateDigitsEnd(const Line& line, size_t start) {
    size_t i = start;
    auto digitRun = [&](int shortest, int longest) {
        int count = 0;
        while (i < line.size()) {
            size_t next = 0;
            if (!isDigit(line.at(i, next)))
                break;
            ++count;
            i = next;
        }
        return count >= shortest && count <= longest;
    };
    if (!digitRun(1, 4) || i >= line.size() || !isDateSeparator(line.byte(i)))
        return kNone;
    ++i;
    if (!digitRun(1, 2) || i >= line.size() || !isDateSeparator(line.byte(i)))
        return kNone;
    ++i;
    if (!digitRun(2, 4) || i >= line.size() || line.byte(i) != ',')
        return kNone;
    return i;
}

template <typename T>
struct DashMatch {
    Span time;
    size_t dash = 0;
    T rest;
};

// ,\s*(.+?)\s+-\s+... after the date's comma: the time group and what `afterDash(dash)` gives for
// the first dash that the lazy time group can reach.
template <typename AfterDash>
auto findDash(Line& line, size_t comma, AfterDash afterDash)
    -> std::optional<DashMatch<typename decltype(afterDash(size_t{}))::value_type>> {
    using Result = DashMatch<typename decltype(afterDash(size_t{}))::value_type>;
    const size_t n = line.size();
    const size_t q = comma + 1;
    const size_t m = line.skipSpaces(q);
    if (m >= n)
        return std::nullopt;
    // With all the white space taken, the time starts at m and ends where a run of white space
    // before a dash begins; it cannot hold a line terminator, so that run must start by the
    // first one.
    const size_t terminator = line.terminatorFrom(m);
    size_t runStart = kNone;
    for (size_t i = line.next(m); i < n;) {
        size_t next = 0;
        const UChar32 c = line.at(i, next);
        if (isSpace(c)) {
            if (runStart == kNone)
                runStart = i;
        } else {
            if (c == '-' && runStart != kNone) {
                if (runStart > terminator)
                    break;
                if (auto rest = afterDash(i))
                    return Result{{m, runStart}, i, *rest};
            }
            if (i > terminator)
                break;
            runStart = kNone;
        }
        i = next;
    }
    // Giving back white space adds one candidate: a dash right after it, with the time a single
    // white-space character (not a line terminator) and at least one more before the dash.
    if (line.byte(m) != '-' || m == q)
        return std::nullopt;
    size_t w = line.previous(m);
    if (w == q)
        return std::nullopt;
    const auto rest = afterDash(m);
    if (!rest)
        return std::nullopt;
    for (w = line.previous(w);; w = line.previous(w)) {
        if (!line.isTerminatorAt(w))
            return Result{{w, line.next(w)}, m, *rest};
        if (w == q)
            return std::nullopt;
    }
}

// Candidate ']' positions for the bracketed time group, searched once across all the commas the
// date group is tried with (their search starts only move forward).
class BracketSearch {
public:
    /// The first ']' in [from, bound) after which the rest of the line matches.
    std::optional<std::pair<size_t, Rest>> firstMatch(Matcher& matcher, size_t from, size_t bound) {
        if (found_ != kNone && found_ >= from) {
            if (found_ < bound)
                return std::make_pair(found_, foundRest_);
            return std::nullopt;
        }
        for (size_t p = std::max(scanned_, from); p < bound;) {
            const size_t bracket = matcher.line.find(']', p);
            if (bracket == kNone || bracket >= bound)
                break;
            scanned_ = bracket + 1;
            if (auto rest = matcher.rest(bracket + 1, false)) {
                found_ = bracket;
                foundRest_ = *rest;
                return std::make_pair(bracket, *rest);
            }
            p = bracket + 1;
        }
        scanned_ = std::max(scanned_, bound);
        return std::nullopt;
    }

private:
    size_t scanned_ = 0;  // every ']' before this has been tried
    size_t found_ = kNone;
    Rest foundRest_;
};

HeaderGroups groupsOf(const Line& line, Span date, Span time, const Rest& rest) {
    return HeaderGroups{line.slice(date), line.slice(time), line.slice(rest.sender),
                        line.slice(rest.body)};
}

}  // namespace

std::optional<HeaderGroups> matchBracketed(std::string_view text) {
    Matcher matcher(text);
    Line& line = matcher.line;
    if (line.size() < 2 || line.byte(0) != '[')
        return std::nullopt;
    // The date group runs from after '[' to a comma, holds at least one character and no line
    // terminator; commas are tried from the first.
    const size_t dateEndLimit = line.terminatorFrom(1);
    BracketSearch brackets;
    for (size_t from = line.next(1);;) {
        const size_t comma = line.find(',', from);
        if (comma == kNone || comma >= dateEndLimit)
            return std::nullopt;
        from = comma + 1;
        const size_t q = comma + 1;
        const size_t m = line.skipSpaces(q);
        if (m >= line.size())
            continue;
        const size_t timeLimit = line.terminatorFrom(m);
        if (auto match = brackets.firstMatch(matcher, line.next(m), timeLimit)) {
            return groupsOf(line, {1, comma}, {m, match->first}, match->second);
        }
        // With one white-space character given back the time is that character, and the only
        // new candidate is a ']' right after it.
        if (m > q && line.byte(m) == ']') {
            const size_t w = line.previous(m);
            if (line.isTerminatorAt(w))
                continue;
            if (auto rest = matcher.rest(m + 1, false)) {
                return groupsOf(line, {1, comma}, {w, m}, *rest);
            }
        }
    }
}

std::optional<HeaderGroups> matchDashed(std::string_view text) {
    Matcher matcher(text);
    const size_t comma = dateDigitsEnd(matcher.line, 0);
    if (comma == kNone)
        return std::nullopt;
    const auto match =
        findDash(matcher.line, comma, [&](size_t dash) { return matcher.rest(dash + 1, true); });
    if (!match)
        return std::nullopt;
    return groupsOf(matcher.line, {0, comma}, match->time, match->rest);
}

std::optional<NoticeGroups> matchBracketedNotice(std::string_view text) {
    const Line line(text);
    if (line.size() < 2 || line.byte(0) != '[')
        return std::nullopt;
    const size_t comma = dateDigitsEnd(line, 1);
    if (comma == kNone)
        return std::nullopt;
    const size_t q = comma + 1;
    const size_t m = line.skipSpaces(q);
    // ([^\]]+) takes everything up to the first ']', and needs at least one character.
    const size_t close = line.find(']', m);
    if (close == kNone)
        return std::nullopt;
    Span time{m, close};
    if (close == m) {
        if (m == q)
            return std::nullopt;
        time.begin = line.previous(m);
    }
    return NoticeGroups{line.slice({1, comma}), line.slice(time)};
}

std::optional<NoticeGroups> matchDashedNotice(std::string_view text) {
    Line line(text);
    const size_t comma = dateDigitsEnd(line, 0);
    if (comma == kNone)
        return std::nullopt;
    const auto match = findDash(line, comma, [&](size_t dash) -> std::optional<bool> {
        const size_t after = dash + 1;
        size_t next = 0;
        if (after < line.size() && isSpace(line.at(after, next)))
            return true;
        return std::nullopt;
    });
    if (!match)
        return std::nullopt;
    return NoticeGroups{line.slice({0, comma}), line.slice(match->time)};
}

}  // namespace lumenary::LinePatterns
