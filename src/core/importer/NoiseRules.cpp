#include "importer/NoiseRules.h"

#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "importer/NoticeTables.h"
#include "importer/WhatsAppParser.h"
#include "text/TextRules.h"

namespace lumenary {
namespace NoiseRules {
namespace {

using std::size_t;

char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (asciiLower(a[i]) != b[i])
            return false;
    }
    return true;
}

bool startsWithIgnoringAsciiCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           equalsIgnoringAsciiCase(text.substr(0, prefix.size()), prefix);
}

bool containsCallIgnoringAsciiCase(std::string_view text) {
    // "c" and "C" are the only bytes that OR 0x20 turns into "c": look for them eight at a time.
    constexpr std::uint64_t kOnes = 0x0101010101010101ULL, kHighBits = 0x8080808080808080ULL;
    size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + i, 8);
        const std::uint64_t cs = (word | kOnes * 0x20) ^ (kOnes * 'c');
        if (((cs - kOnes) & ~cs & kHighBits) != 0)
            break;
    }
    for (; i + 4 <= text.size(); ++i) {
        if ((text[i] | 0x20) == 'c' && equalsIgnoringAsciiCase(text.substr(i, 4), "call")) {
            return true;
        }
    }
    return false;
}

// Multi-phrase search in the manner of Wu and Manber: a window as long as the shortest phrase
// slides along the text, and the four bytes at its end say how far it may jump without passing
// over the start of any phrase. Most windows jump several bytes, so a message costs a few table
// reads instead of one per byte. The jumps are indexed by a hash of the four bytes, in a table
// small enough to stay in the first-level cache; blocks that share a hash only make a jump
// shorter. Blocks of four bytes rather than three keep the common ones of everyday text ("you",
// "the ", "is ") from cutting the jumps short now that the phrases are many. Phrases outside
// ASCII are searched byte by byte like the others: the text is lower-cased first when that could
// change it, so equal characters are equal bytes.
class PhraseIndex {
public:
    PhraseIndex() {
        const std::span<const std::string_view> phrases = NoticeTables::phrases();
        shift_.fill(static_cast<std::uint8_t>(kWindow - kBlock + 1));
        for (size_t i = phrases.size(); i-- > 0;) {
            const std::string_view phrase = phrases[i];
            for (size_t j = 0; j + kBlock <= kWindow; ++j) {
                std::uint8_t& shift = shift_[slotAt(phrase, j)];
                shift = std::min(shift, static_cast<std::uint8_t>(kWindow - kBlock - j));
            }
            starting_[slotAt(phrase, 0) % kStartSlots].push_back(static_cast<std::uint16_t>(i));
        }
    }

    bool foundIn(std::string_view text) const {
        const std::span<const std::string_view> phrases = NoticeTables::phrases();
        for (size_t end = kWindow - kBlock; end + kBlock <= text.size();) {
            const std::uint8_t shift = shift_[slotAt(text, end)];
            if (shift > 0) {
                end += shift;
                continue;
            }
            const size_t start = end - (kWindow - kBlock);
            for (const std::uint16_t phrase : starting_[slotAt(text, start) % kStartSlots]) {
                if (matchesAt(text, start, phrases[phrase]))
                    return true;
            }
            ++end;
        }
        return false;
    }

private:
    static constexpr size_t kWindow = NoticeTables::kShortestPhrase;
    static constexpr size_t kBlock = 4;
    static_assert(kWindow >= kBlock && kWindow < 256, "the window must hold one block");
    static constexpr unsigned kSlotBits = 15;
    static constexpr size_t kSlots = size_t{1} << kSlotBits;
    static constexpr size_t kStartSlots = 1024;

    // OR 0x20 lowers ASCII letters and leaves the other ASCII bytes of the phrases (space, "'",
    // "-") as they are; that it also merges some other bytes only makes a jump shorter. The
    // multiplication mixes all four bytes into the top bits.
    static size_t slotAt(std::string_view s, size_t i) {
        std::uint32_t block = 0;
        std::memcpy(&block, s.data() + i, kBlock);
        return ((block | 0x20202020U) * 2654435761U) >> (32 - kSlotBits);
    }

    static bool matchesAt(std::string_view text, size_t at, std::string_view phrase) {
        if (text.size() - at < phrase.size())
            return false;
        for (size_t i = 0; i < phrase.size(); ++i) {
            if (asciiLower(text[at + i]) != phrase[i])
                return false;
        }
        return true;
    }

    std::array<std::uint8_t, kSlots> shift_{};
    // Phrases by the slot of their first block, folded: only windows that may not jump look here.
    std::array<std::vector<std::uint16_t>, kStartSlots> starting_;
};

// The call logs of the tables, which must be the whole body or its start before ", " and a few
// more characters. Looked up by the first byte, after a bit for the first two bytes has said
// that some entry starts with them: most bodies cost two table reads.
class CallLogIndex {
public:
    CallLogIndex() {
        for (const std::string_view entry : NoticeTables::callLogs()) {
            const auto first = static_cast<unsigned char>(entry[0]);
            byFirstByte_[first].push_back(entry);
            secondBytes_[first] |= std::uint64_t{1} << (static_cast<unsigned char>(entry[1]) & 63);
            longest_ = std::max(longest_, entry.size());
        }
    }

    bool matches(std::string_view text) const {
        if (text.size() < 2 || text.size() > longest_ + kLongestTail)
            return false;
        const auto first = static_cast<unsigned char>(asciiLower(text[0]));
        const auto second = static_cast<unsigned char>(asciiLower(text[1]));
        if ((secondBytes_[first] >> (second & 63) & 1) == 0)
            return false;
        for (const std::string_view entry : byFirstByte_[first]) {
            // Where the entry would end, the text ends or goes on with ", ": a cheap test first.
            const size_t n = entry.size();
            const bool endsThere =
                text.size() == n || (text.size() > n + 1 && text[n] == ',' && text[n + 1] == ' ');
            if (endsThere && startsWithIgnoringAsciiCase(text, entry) &&
                isCallLogTail(text.substr(n))) {
                return true;
            }
        }
        return false;
    }

private:
    static constexpr size_t kTailCharacters = 30;
    // ", " and 30 characters of at most four bytes.
    static constexpr size_t kLongestTail = 2 + 4 * kTailCharacters;

    // Nothing, or ", " and at most 30 characters on the same line ("Tap to call back").
    static bool isCallLogTail(std::string_view tail) {
        if (tail.empty())
            return true;
        if (!tail.starts_with(", "))
            return false;
        size_t characters = 0;
        for (size_t i = 2, next = 0; i < tail.size(); i = next) {
            const char32_t c = text::codePointAt(tail, i, next);
            if (c == '\n' || c == '\r' || ++characters > kTailCharacters)
                return false;
        }
        return true;
    }

    std::array<std::vector<std::string_view>, 256> byFirstByte_;
    std::array<std::uint64_t, 256> secondBytes_{};  // bit b & 63 for each second byte b
    size_t longest_ = 0;
};

// The pattern as the reference platform compiles it, with the case-insensitive option.
constexpr char16_t kCallLogPattern[] =
    u"^(?:(?:missed|group|incoming|outgoing|silenced)(?:\\s+(?:missed|group|voice|video))*"
    u"\\s+call(?:,.{0,30})?|(?:voice|video)\\s+call(?:,\\s*\\d{1,3}\\s*[a-z]{1,7})?|"
    u"call (?:failed|ended|declined|not answered).{0,20}|"
    u"(?:ended|try again|no answer|declined|busy|unanswered)|"
    u"\\d{1,3} (?:sec|secs|second|seconds|min|mins|minute|minutes|hr|hrs|hour|hours))$";

// The words after "call " in the third alternative with "call".
constexpr std::array<std::string_view, 4> kCallOutcomes = {"failed", "ended", "declined",
                                                           "not answered"};
// The alternative that is a single word or two, and the units after a number.
constexpr std::array<std::string_view, 6> kShortCallWords = {"ended",    "try again", "no answer",
                                                             "declined", "busy",      "unanswered"};
constexpr std::array<std::string_view, 12> kTimeUnits = {"sec", "secs", "second", "seconds",
                                                         "min", "mins", "minute", "minutes",
                                                         "hr",  "hrs",  "hour",   "hours"};

// \d{1,3} and a space: how the "5 minutes" alternative starts.
bool startsWithShortNumberAndSpace(std::string_view text) {
    size_t i = 0;
    int digits = 0;
    while (i < text.size()) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(text.data(), i, text.size(), c);
        if (u_charType(c) != U_DECIMAL_DIGIT_NUMBER)
            return digits >= 1 && digits <= 3 && c == ' ';
        if (++digits > 3)
            return false;
    }
    return false;
}

const icu::RegexPattern* callLogPattern() {
    static const std::unique_ptr<icu::RegexPattern> pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(
            icu::UnicodeString(kCallLogPattern), UREGEX_CASE_INSENSITIVE, status));
        if (U_FAILURE(status))
            compiled.reset();
        return compiled;
    }();
    return pattern.get();
}

}  // namespace

bool foldsToAsciiLetters(char32_t c) {
    return c == 0x00DF || c == 0x0130 || c == 0x0149 || c == 0x017F || c == 0x01F0 ||
           (c >= 0x1E96 && c <= 0x1E9A) || c == 0x1E9E || c == 0x212A ||
           (c >= 0xFB00 && c <= 0xFB06);
}

std::span<const std::string_view> phrases() {
    return NoticeTables::phrases();
}

bool containsPhrase(std::string_view lowered) {
    static const PhraseIndex index;
    return index.foundIn(lowered);
}

bool isCallLogByRegex(std::string_view text) {
    const icu::RegexPattern* pattern = callLogPattern();
    // ICU takes 32-bit lengths; no call log comes near them.
    if (pattern == nullptr || text.size() > static_cast<size_t>(INT32_MAX))
        return false;
    // One matcher per thread: making a matcher costs more than running it on a short text.
    thread_local std::unique_ptr<icu::RegexMatcher> matcher;
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString input = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    if (!matcher) {
        matcher.reset(pattern->matcher(input, status));
        if (U_FAILURE(status)) {
            matcher.reset();
            return false;
        }
    } else {
        matcher->reset(input);
    }
    const bool found = matcher->find(0, status) && U_SUCCESS(status);
    matcher->reset(icu::UnicodeString());  // drop the matcher's reference to `input`
    return found;
}

namespace {

bool anyStartsWith(std::string_view text, std::span<const std::string_view> words) {
    return std::any_of(words.begin(), words.end(), [&](std::string_view word) {
        return startsWithIgnoringAsciiCase(text, word);
    });
}

bool hasCharacterFoldingToAscii(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(text.data(), i, text.size(), c);
        if (c >= 0x80 && foldsToAsciiLetters(static_cast<char32_t>(c)))
            return true;
    }
    return false;
}

// "$" lets the text end with one line terminator (or "\r\n") after the match. The lead bytes
// of U+0085, U+2028 and U+2029 never belong to an earlier sequence, so bytes tell.
std::string_view withoutFinalTerminator(std::string_view text) {
    const size_t n = text.size();
    size_t cut = 0;
    if (n >= 2 && text[n - 2] == '\r' && text[n - 1] == '\n') {
        cut = 2;
    } else if (n >= 1 && text[n - 1] >= '\n' && text[n - 1] <= '\r') {
        cut = 1;
    } else if (n >= 2 && text[n - 2] == '\xC2' && text[n - 1] == '\x85') {
        cut = 2;
    } else if (n >= 3 && text[n - 3] == '\xE2' && text[n - 2] == '\x80' &&
               (text[n - 1] == '\xA8' || text[n - 1] == '\xA9')) {
        cut = 3;
    }
    return text.substr(0, n - cut);
}

// Text with a character that folds to ASCII letters ("ſ" folds to "s", "ﬀ" to "ff") can spell
// the pattern's words in ways no prefix test foresees: only the plain requirements are checked.
bool isCallLogSpelledAnyhow(std::string_view text) {
    // Every alternative needs "call", a number of one to three digits and a space at the start,
    // or the text to be one of six words (at most ten characters, one code point each at least,
    // plus a final line terminator).
    if (containsCallIgnoringAsciiCase(text) || startsWithShortNumberAndSpace(text)) {
        return isCallLogByRegex(text);
    }
    constexpr size_t kLongestWord = 10;  // "unanswered"
    const std::string_view word = withoutFinalTerminator(text);
    if (word.size() > 4 * kLongestWord)
        return false;
    size_t codePoints = 0;
    for (size_t i = 0; i < word.size(); ++codePoints) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(word.data(), i, word.size(), c);
        if (c >= 0x80 && !foldsToAsciiLetters(static_cast<char32_t>(c)))
            return false;
    }
    return codePoints <= kLongestWord && isCallLogByRegex(text);
}

// The alternatives with "call", for text whose letters are ASCII or fold to non-ASCII: they start
// with "call " and one of four words, or with one of seven words and white space. Nothing when
// the text starts otherwise.
std::optional<bool> isCallSentence(std::string_view text) {
    if (text.empty())
        return std::nullopt;
    // Each of the words starts with its own letter, but for "voice" and "video".
    std::string_view opening;
    switch (text[0] | 0x20) {
        case 'c':
            if (!startsWithIgnoringAsciiCase(text, "call "))
                return std::nullopt;
            return anyStartsWith(text.substr(5), kCallOutcomes) && isCallLogByRegex(text);
        case 'm':
            opening = "missed";
            break;
        case 'g':
            opening = "group";
            break;
        case 'i':
            opening = "incoming";
            break;
        case 'o':
            opening = "outgoing";
            break;
        case 's':
            opening = "silenced";
            break;
        case 'v':
            opening = (text.size() > 2 && (text[2] | 0x20) == 'd') ? "video" : "voice";
            break;
        default:
            return std::nullopt;
    }
    if (text.size() <= opening.size() || !startsWithIgnoringAsciiCase(text, opening))
        return std::nullopt;
    // The word must be followed by white space (\s).
    UChar32 next = 0;
    size_t at = opening.size();
    U8_NEXT_OR_FFFD(text.data(), at, text.size(), next);
    return u_isUWhiteSpace(next) && containsCallIgnoringAsciiCase(text) && isCallLogByRegex(text);
}

// isCallLog, told whether `text` is ASCII. ICU runs only for text that starts the way an
// alternative with "call" starts, or (outside ASCII) with a number and a space.
bool isCallLog(std::string_view text, bool ascii) {
    if (!ascii && hasCharacterFoldingToAscii(text))
        return isCallLogSpelledAnyhow(text);
    // Now the pattern's letters match only ASCII letters, in either case.
    if (const std::optional<bool> sentence = isCallSentence(text))
        return *sentence;
    const std::string_view whole = withoutFinalTerminator(text);
    if (!ascii && !text::isAscii(whole))
        return startsWithShortNumberAndSpace(text) && isCallLogByRegex(text);
    // A number and a unit ("5 minutes"), or one of the single words.
    size_t digits = 0;
    while (digits < whole.size() && whole[digits] >= '0' && whole[digits] <= '9')
        ++digits;
    if (digits >= 1 && digits <= 3 && digits < whole.size() && whole[digits] == ' ') {
        const std::string_view unit = whole.substr(digits + 1);
        return std::any_of(kTimeUnits.begin(), kTimeUnits.end(),
                           [&](std::string_view u) { return equalsIgnoringAsciiCase(unit, u); });
    }
    return std::any_of(kShortCallWords.begin(), kShortCallWords.end(),
                       [&](std::string_view word) { return equalsIgnoringAsciiCase(whole, word); });
}

}  // namespace

bool isCallLog(std::string_view text) {
    return isCallLog(text, text::isAscii(text));
}

namespace {

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// How many bytes of a whole character start at `i` when it comes from a block with no case:
// U+0800 to U+0FFF (the Indic scripts, Thai, Tibetan), U+2000 to U+207F (punctuation, the joiner
// inside emoji), U+2500 to U+27FF (shapes, symbols, dingbats such as "❤"), U+3000 to U+9FFF
// (CJK), U+FE00 to U+FE0F (the variation selectors after emoji) and U+1F000 to U+1FFFF (emoji).
// Zero when the character may have case or is cut off.
size_t caselessCharacterAt(std::string_view text, size_t i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (i + 2 >= text.size() || !isContinuation(text[i + 1]) || !isContinuation(text[i + 2]))
            return 0;
        const auto second = static_cast<unsigned char>(text[i + 1]);
        const bool caseless =
            lead == 0xE0 || (lead >= 0xE3 && lead <= 0xE9) ||
            (lead == 0xE2 && (second <= 0x81 || (second >= 0x94 && second <= 0x9F))) ||
            (lead == 0xEF && second == 0xB8 && static_cast<unsigned char>(text[i + 2]) <= 0x8F);
        return caseless ? 3 : 0;
    }
    if (lead == 0xF0 && i + 3 < text.size() && text[i + 1] == '\x9F' &&
        isContinuation(text[i + 2]) && isContinuation(text[i + 3])) {
        return 4;
    }
    return 0;
}

}  // namespace

namespace {

// Where the first byte outside ASCII is, or the size when there is none.
size_t firstOutsideAscii(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;
    size_t i = 0;
    for (std::uint64_t word = 0; i + 8 <= text.size(); i += 8) {
        std::memcpy(&word, text.data() + i, 8);
        if ((word & kHighBits) != 0)
            break;
    }
    while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80)
        ++i;
    return i;
}

// lowercasingChanges for text whose first `from` bytes are ASCII.
bool lowercasingChangesFrom(std::string_view text, size_t from) {
    for (size_t i = from; i < text.size();) {
        // ASCII letters are matched in either case, and the scripts and emoji most common
        // outside ASCII have none: neither needs a lookup.
        if (static_cast<unsigned char>(text[i]) < 0x80) {
            ++i;
            continue;
        }
        if (const size_t skip = caselessCharacterAt(text, i)) {
            i += skip;
            continue;
        }
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(text.data(), i, text.size(), c);
        if (u_tolower(c) != c)
            return true;
    }
    return false;
}

}  // namespace

bool lowercasingChanges(std::string_view text) {
    return lowercasingChangesFrom(text, firstOutsideAscii(text));
}

namespace {

bool isTableCallLog(std::string_view lowered) {
    static const CallLogIndex index;
    return index.matches(lowered);
}

bool isAttachmentMarker(std::string_view marker) {
    const std::span<const std::string_view> markers = NoticeTables::attachmentMarkers();
    if (!lowercasingChanges(marker)) {
        return std::any_of(markers.begin(), markers.end(),
                           [&](std::string_view m) { return equalsIgnoringAsciiCase(marker, m); });
    }
    const std::string lowered = text::lowercase(marker);
    return std::find(markers.begin(), markers.end(), lowered) != markers.end();
}

}  // namespace

bool isAttachmentLine(std::string_view trimmed) {
    constexpr size_t kLongestName = 255;
    // A capital takes at most three bytes for each byte of its lower case (the Kelvin sign).
    static const size_t longestMarker = [] {
        size_t longest = 0;
        for (const std::string_view marker : NoticeTables::attachmentMarkers())
            longest = std::max(longest, marker.size());
        return 3 * longest;
    }();
    if (trimmed.size() < 4 || trimmed.back() != ')')
        return false;
    // No marker holds a parenthesis, so the last "(" opens it; the file name may hold others.
    const size_t open = trimmed.rfind('(');
    if (open == std::string_view::npos || open < 2 || trimmed[open - 1] != ' ' ||
        trimmed.size() - open - 2 > longestMarker) {
        return false;
    }
    const std::string_view name = trimmed.substr(0, open - 1);
    const size_t dot = name.rfind('.');
    if (name.size() > kLongestName || name.back() == ' ' || dot == std::string_view::npos ||
        dot + 1 == name.size() || name.find_first_of("\r\n") != std::string_view::npos) {
        return false;
    }
    return isAttachmentMarker(trimmed.substr(open + 1, trimmed.size() - open - 2));
}

std::string_view trimmedBody(std::string_view body) {
    if (body.empty())
        return body;
    UChar32 first = 0, last = 0;
    size_t afterFirst = 0;
    U8_NEXT_OR_FFFD(body.data(), afterFirst, body.size(), first);
    // The last code point: back over at most three continuation bytes, then forward to the end.
    size_t lastStart = body.size() - 1;
    for (int i = 0;
         i < 3 && lastStart > 0 && (static_cast<unsigned char>(body[lastStart]) & 0xC0) == 0x80;
         ++i) {
        --lastStart;
    }
    size_t afterLast = lastStart;
    U8_NEXT_OR_FFFD(body.data(), afterLast, body.size(), last);
    if (afterLast == body.size() && !u_isUWhiteSpace(first) && !u_isUWhiteSpace(last))
        return body;
    return text::trimWhitespace(body);
}

bool isNoiseTrimmed(std::string_view trimmed) {
    if (trimmed.empty())
        return true;
    // A bracketed placeholder such as "<Media omitted>", short enough not to be a real message.
    if (trimmed.front() == '<' && trimmed.back() == '>' &&
        (trimmed.size() < 120 || text::characterCount(trimmed) < 120)) {
        return true;
    }
    // The rules below read the lower-case text. Every one of them ignores the case of ASCII
    // letters, so only text with another character that lower-casing changes ("Ü", "İ", the
    // Kelvin sign) is lower-cased first: most text outside ASCII (emoji, Telugu, Devanagari) has
    // none and is read as it is.
    const size_t outsideAscii = firstOutsideAscii(trimmed);
    const bool ascii = outsideAscii == trimmed.size();
    std::string_view lowered = trimmed;
    if (!ascii && lowercasingChangesFrom(trimmed, outsideAscii)) {
        thread_local std::string loweredCopy;
        text::lowercase(trimmed, loweredCopy);
        lowered = loweredCopy;
    }
    if (startsWithIgnoringAsciiCase(lowered, "<attached") ||
        startsWithIgnoringAsciiCase(lowered, "\u200E<attached")) {
        return true;
    }
    if (startsWithIgnoringAsciiCase(lowered, "http") &&
        trimmed.find(' ') == std::string_view::npos) {
        return true;
    }
    return containsPhrase(lowered) || isCallLog(lowered, ascii) || isTableCallLog(lowered) ||
           (trimmed.back() == ')' && isAttachmentLine(trimmed));
}

}  // namespace NoiseRules

namespace WhatsAppParser {

bool isNoise(std::string_view body) {
    return NoiseRules::isNoiseTrimmed(NoiseRules::trimmedBody(body));
}

}  // namespace WhatsAppParser
}  // namespace lumenary
