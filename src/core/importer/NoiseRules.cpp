#include "importer/NoiseRules.h"

#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "importer/WhatsAppParser.h"
#include "text/TextRules.h"

namespace lumenary {
namespace NoiseRules {
namespace {

using std::size_t;

constexpr std::array<std::string_view, 25> kPhrases = {
    // English
    "messages and calls are end-to-end encrypted",
    "media omitted",
    "image omitted",
    "video omitted",
    "audio omitted",
    "sticker omitted",
    "gif omitted",
    "document omitted",
    "contact card omitted",
    "this message was deleted",
    "you deleted this message",
    "waiting for this message",
    "changed the subject",
    "changed this group's icon",
    "changed their phone number",
    "added you",
    "created group",
    "joined using this group's invite link",
    "your security code with",
    "changed to a new phone number",
    "you were added",
    "removed you",
    "left the group",
    "live location shared",
    "this message was edited",
};

// Phrases by their first two bytes: each position of a message costs one table read, and only the
// phrases that start with the same two bytes are compared there.
class PhraseIndex {
public:
    PhraseIndex() {
        for (size_t i = kPhrases.size(); i-- > 0;) {
            const std::uint16_t key = keyAt(kPhrases[i], 0);
            next_[i] = first_[key];
            first_[key] = static_cast<std::uint8_t>(i + 1);
        }
    }

    bool foundIn(std::string_view text) const {
        for (size_t i = 0; i + 1 < text.size(); ++i) {
            for (std::uint8_t entry = first_[keyAt(text, i)]; entry != 0;) {
                const std::string_view phrase = kPhrases[entry - 1];
                if (text.compare(i, phrase.size(), phrase) == 0) return true;
                entry = next_[entry - 1];
            }
        }
        return false;
    }

private:
    static std::uint16_t keyAt(std::string_view s, size_t i) {
        return static_cast<std::uint16_t>(static_cast<unsigned char>(s[i]) << 8 |
                                          static_cast<unsigned char>(s[i + 1]));
    }

    std::array<std::uint8_t, 65536> first_{};  // phrase index + 1, or 0
    std::array<std::uint8_t, kPhrases.size()> next_{};
};

// The pattern as the reference platform compiles it, with the case-insensitive option.
constexpr char16_t kCallLogPattern[] =
    u"^(?:(?:missed|group|incoming|outgoing|silenced)(?:\\s+(?:missed|group|voice|video))*"
    u"\\s+call(?:,.{0,30})?|(?:voice|video)\\s+call(?:,\\s*\\d{1,3}\\s*[a-z]{1,7})?|"
    u"call (?:failed|ended|declined|not answered).{0,20}|"
    u"(?:ended|try again|no answer|declined|busy|unanswered)|"
    u"\\d{1,3} (?:sec|secs|second|seconds|min|mins|minute|minutes|hr|hrs|hour|hours))$";

// The alternatives that need neither "call" nor a leading number.
constexpr std::array<std::string_view, 6> kShortCallWords = {
    "ended", "try again", "no answer", "declined", "busy", "unanswered"};

// Code points whose case folding holds an ASCII letter ("ſ" folds to "s", "ﬀ" to "ff", the
// Kelvin sign to "k"...): only through these can non-ASCII text match the pattern's words.
bool foldsToAsciiLetters(UChar32 c) {
    return c == 0x00DF || c == 0x0130 || c == 0x0149 || c == 0x017F || c == 0x01F0 ||
           (c >= 0x1E96 && c <= 0x1E9A) || c == 0x1E9E || c == 0x212A ||
           (c >= 0xFB00 && c <= 0xFB06);
}

char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (asciiLower(a[i]) != b[i]) return false;
    }
    return true;
}

bool containsCallIgnoringAsciiCase(std::string_view text) {
    for (size_t i = 0; i + 4 <= text.size(); ++i) {
        if (asciiLower(text[i]) == 'c' && equalsIgnoringAsciiCase(text.substr(i, 4), "call")) {
            return true;
        }
    }
    return false;
}

// "$" lets the text end with one line terminator (or "\r\n") after the match.
std::string_view withoutFinalTerminator(std::string_view text) {
    if (text.ends_with("\r\n")) return text.substr(0, text.size() - 2);
    if (!text.empty() && text.back() >= '\n' && text.back() <= '\r') {
        return text.substr(0, text.size() - 1);
    }
    return text;
}

// \d{1,3} and a space: how the "5 minutes" alternative starts.
bool startsWithShortNumberAndSpace(std::string_view text) {
    size_t i = 0;
    int digits = 0;
    while (i < text.size()) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(text.data(), i, text.size(), c);
        if (u_charType(c) != U_DECIMAL_DIGIT_NUMBER) return digits >= 1 && digits <= 3 && c == ' ';
        if (++digits > 3) return false;
    }
    return false;
}

const icu::RegexPattern* callLogPattern() {
    static const std::unique_ptr<icu::RegexPattern> pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexPattern> compiled(
            icu::RegexPattern::compile(icu::UnicodeString(kCallLogPattern), UREGEX_CASE_INSENSITIVE,
                                       status));
        if (U_FAILURE(status)) compiled.reset();
        return compiled;
    }();
    return pattern.get();
}

}  // namespace

std::span<const std::string_view> phrases() {
    return kPhrases;
}

bool containsPhrase(std::string_view lowered) {
    static const PhraseIndex index;
    return index.foundIn(lowered);
}

bool isCallLogByRegex(std::string_view text) {
    const icu::RegexPattern* pattern = callLogPattern();
    if (pattern == nullptr) return false;
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

bool isCallLog(std::string_view text) {
    // Every alternative needs "call", a number of one to three digits and a space at the start,
    // or the text to be one of six words (at most ten characters, one code point each at least,
    // plus a final line terminator). Anything else cannot match, so ICU is skipped.
    if (containsCallIgnoringAsciiCase(text) || startsWithShortNumberAndSpace(text)) {
        return isCallLogByRegex(text);
    }
    constexpr size_t kLongestShortMatch = 12;  // "unanswered\r\n"
    if (text.size() > 4 * kLongestShortMatch) return false;
    if (text::isAscii(text)) {
        const std::string_view word = withoutFinalTerminator(text);
        for (const std::string_view candidate : kShortCallWords) {
            if (equalsIgnoringAsciiCase(word, candidate)) return true;
        }
        return false;
    }
    size_t codePoints = 0;
    for (size_t i = 0; i < text.size(); ++codePoints) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(text.data(), i, text.size(), c);
        if (c >= 0x80 && !foldsToAsciiLetters(c)) return false;
    }
    return codePoints <= kLongestShortMatch && isCallLogByRegex(text);
}

}  // namespace NoiseRules

namespace NoiseRules {

std::string_view trimmedBody(std::string_view body) {
    if (body.empty()) return body;
    UChar32 first = 0, last = 0;
    size_t afterFirst = 0;
    U8_NEXT_OR_FFFD(body.data(), afterFirst, body.size(), first);
    // The last code point: back over at most three continuation bytes, then forward to the end.
    size_t lastStart = body.size() - 1;
    for (int i = 0; i < 3 && lastStart > 0 &&
                    (static_cast<unsigned char>(body[lastStart]) & 0xC0) == 0x80;
         ++i) {
        --lastStart;
    }
    size_t afterLast = lastStart;
    U8_NEXT_OR_FFFD(body.data(), afterLast, body.size(), last);
    if (afterLast == body.size() && !u_isUWhiteSpace(first) && !u_isUWhiteSpace(last)) return body;
    return text::trimWhitespace(body);
}

bool isNoiseTrimmed(std::string_view trimmed) {
    if (trimmed.empty()) return true;
    // A bracketed placeholder such as "<Media omitted>", short enough not to be a real message.
    if (trimmed.front() == '<' && trimmed.back() == '>' &&
        (trimmed.size() < 120 || text::characterCount(trimmed) < 120)) {
        return true;
    }
    thread_local std::string lowered;
    text::lowercase(trimmed, lowered);
    const std::string_view l = lowered;
    if (l.starts_with("<attached") || l.starts_with("\u200E<attached")) return true;
    if (l.starts_with("http") && trimmed.find(' ') == std::string_view::npos) return true;
    return containsPhrase(l) || isCallLog(l);
}

}  // namespace NoiseRules

namespace WhatsAppParser {

bool isNoise(std::string_view body) {
    return NoiseRules::isNoiseTrimmed(NoiseRules::trimmedBody(body));
}

}  // namespace WhatsAppParser
}  // namespace lumenary
