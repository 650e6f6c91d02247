#include "text/TextRules.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

#include "text/CharacterBreaks.h"

namespace lumenary::text {
namespace {

using breaks::decodeNext;

// These rules run over every message of archives with a million messages, most of them plain
// ASCII. For ASCII text every byte is one character except "\r\n" (one grapheme cluster), and the
// category of each byte is fixed, so ASCII text skips ICU's break iterator and case mapping. The
// general functions at the end ask ICU about every code point; the tests hold both equal.

enum Class : std::uint8_t {
    kLetter = 1,
    kNumber = 2,
    kPunctuation = 4,
    kWhiteSpace = 8,
};

std::uint8_t classifyWithIcu(char32_t c) {
    const auto codePoint = static_cast<UChar32>(c);
    const std::uint32_t categoryBit = 1u << u_charType(codePoint);
    std::uint8_t flags = 0;
    if (categoryBit & U_GC_L_MASK)
        flags |= kLetter;
    if (u_getIntPropertyValue(codePoint, UCHAR_NUMERIC_TYPE) != U_NT_NONE)
        flags |= kNumber;
    if (categoryBit & U_GC_P_MASK)
        flags |= kPunctuation;
    if (u_isUWhiteSpace(codePoint))
        flags |= kWhiteSpace;
    return flags;
}

// The classes of the ASCII code points, fixed by Unicode: letters A-Z and a-z, numbers 0-9, white
// space from tab to carriage return and the space, punctuation !"#%&'()*,-./:;?@[\]_{}. The other
// printable signs ($+<=>^`|~) are symbols.
constexpr std::array<std::uint8_t, 128> kAsciiClasses = [] {
    std::array<std::uint8_t, 128> t{};
    for (int c = 'A'; c <= 'Z'; ++c) {
        t[c] = kLetter;
        t[c + ('a' - 'A')] = kLetter;
    }
    for (int c = '0'; c <= '9'; ++c) {
        t[c] = kNumber;
    }
    for (const char c : std::string_view("!\"#%&'()*,-./:;?@[\\]_{}")) {
        t[static_cast<unsigned char>(c)] = kPunctuation;
    }
    for (int c = '\t'; c <= '\r'; ++c) {
        t[c] = kWhiteSpace;
    }
    t[' '] = kWhiteSpace;
    return t;
}();

// Whether `c` has any of the `wanted` classes, asking ICU only what is needed.
bool hasClass(char32_t c, std::uint8_t wanted) {
    if (c < 128) {
        return kAsciiClasses[c] & wanted;
    }
    const auto codePoint = static_cast<UChar32>(c);
    const std::uint32_t categoryBit = 1u << u_charType(codePoint);
    if ((wanted & kLetter) && (categoryBit & U_GC_L_MASK)) {
        return true;
    }
    if ((wanted & kPunctuation) && (categoryBit & U_GC_P_MASK)) {
        return true;
    }
    if ((wanted & kNumber) && u_getIntPropertyValue(codePoint, UCHAR_NUMERIC_TYPE) != U_NT_NONE) {
        return true;
    }
    return (wanted & kWhiteSpace) && u_isUWhiteSpace(codePoint);
}

bool hasClassWithIcu(char32_t c, std::uint8_t wanted) {
    return classifyWithIcu(c) & wanted;
}

// Character ends, kept per thread so that walking a million messages allocates nothing.
std::vector<std::size_t>& endsBuffer() {
    thread_local std::vector<std::size_t> ends;
    return ends;
}

template <typename Visit>
void forEachCharacterAscii(std::string_view s, Visit&& visit) {
    for (std::size_t i = 0; i < s.size();) {
        std::size_t end = i + 1;
        if (s[i] == '\r' && end < s.size() && s[end] == '\n')
            ++end;
        visit(i, end);
        i = end;
    }
}

// Runs of characters whose first code point has one of the `wanted` classes. Only the first code
// point of a cluster decides, so a letter keeps its combining marks (Telugu vowel signs, accents).
template <typename HasClass>
void collectRuns(std::string_view s, const std::vector<std::size_t>& ends, std::uint8_t wanted,
                 HasClass has, std::vector<std::string_view>& out) {
    out.clear();
    constexpr std::size_t none = std::string_view::npos;
    std::size_t runStart = none;
    std::size_t begin = 0;
    for (const std::size_t end : ends) {
        std::size_t next = begin;
        if (has(decodeNext(s, next), wanted)) {
            if (runStart == none)
                runStart = begin;
        } else if (runStart != none) {
            out.push_back(s.substr(runStart, begin - runStart));
            runStart = none;
        }
        begin = end;
    }
    if (runStart != none)
        out.push_back(s.substr(runStart));
}

// ASCII text is read 64 bytes at a time: first a bit per byte for "in a run", then the runs are
// read off the bits. A byte-by-byte scan pays two mispredicted branches per word, since word
// lengths follow no pattern; this pays about one per block. "\r" and "\n" are neither letters nor
// numbers, so their pairing never matters here.
void collectRunsAscii(std::string_view s, std::uint8_t wanted, std::vector<std::string_view>& out) {
    out.clear();
    constexpr std::size_t none = std::string_view::npos;
    std::size_t runStart = none;
    for (std::size_t base = 0; base < s.size(); base += 64) {
        const std::size_t length = std::min<std::size_t>(64, s.size() - base);
        std::uint64_t inRun = 0;
        for (std::size_t i = 0; i < length; ++i) {
            const bool member = kAsciiClasses[static_cast<unsigned char>(s[base + i])] & wanted;
            inRun |= static_cast<std::uint64_t>(member) << i;
        }
        std::uint64_t unread = length == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << length) - 1;
        while (true) {
            const std::uint64_t candidates = (runStart == none ? inRun : ~inRun) & unread;
            if (candidates == 0) {
                break;
            }
            const auto at = static_cast<std::size_t>(std::countr_zero(candidates));
            if (runStart == none) {
                runStart = base + at;
            } else {
                out.push_back(s.substr(runStart, base + at - runStart));
                runStart = none;
            }
            unread &= ~std::uint64_t{0} << at;
        }
    }
    if (runStart != none) {
        out.push_back(s.substr(runStart));
    }
}

void runs(std::string_view s, std::uint8_t wanted, std::vector<std::string_view>& out) {
    if (isAscii(s)) {
        collectRunsAscii(s, wanted, out);
    } else {
        auto& ends = endsBuffer();
        breaks::characterEnds(s, ends);
        collectRuns(s, ends, wanted, hasClass, out);
    }
}

void lowercaseAscii(std::string_view s, std::string& out) {
    out.resize(s.size());
    // Without branches, so the compiler can vectorise it: set bit 5 of "A" to "Z".
    for (std::size_t i = 0; i < s.size(); ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        const bool upper = static_cast<unsigned char>(c - 'A') < 26;
        out[i] = static_cast<char>(c | (static_cast<unsigned char>(upper) << 5));
    }
}

void appendUtf8(char32_t c, std::string& out) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

void lowercaseGeneral(std::string_view s, std::string& out) {
    if (s.size() > static_cast<std::size_t>(INT32_MAX / 4)) {
        // ICU's string functions take int32 lengths; no message comes near this.
        lowercaseAscii(s, out);
        return;
    }
    // Buffers kept per thread: lowercasing runs once per message of the archive.
    thread_local std::vector<UChar> source;
    thread_local std::vector<UChar> lowered;
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t sourceLength = 0;
    source.resize(s.size() + 1);  // UTF-16 never needs more units than UTF-8 has bytes
    u_strFromUTF8WithSub(source.data(), static_cast<std::int32_t>(source.size()), &sourceLength,
                         s.data(), static_cast<std::int32_t>(s.size()), 0xFFFD, nullptr, &status);
    lowered.resize(static_cast<std::size_t>(sourceLength) + sourceLength / 2 + 8);
    std::int32_t loweredLength =
        u_strToLower(lowered.data(), static_cast<std::int32_t>(lowered.size()), source.data(),
                     sourceLength, "", &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        lowered.resize(static_cast<std::size_t>(loweredLength) + 1);
        loweredLength = u_strToLower(lowered.data(), static_cast<std::int32_t>(lowered.size()),
                                     source.data(), sourceLength, "", &status);
    }
    if (U_FAILURE(status)) {
        lowercaseAscii(s, out);
        return;
    }
    std::int32_t outLength = 0;
    out.resize(static_cast<std::size_t>(loweredLength) * 3 + 1);
    u_strToUTF8WithSub(out.data(), static_cast<std::int32_t>(out.size()), &outLength,
                       lowered.data(), loweredLength, 0xFFFD, nullptr, &status);
    if (U_FAILURE(status)) {
        lowercaseAscii(s, out);
        return;
    }
    out.resize(static_cast<std::size_t>(outLength));
}

// In the root locale the full lowercase mapping depends on context only for capital sigma (final
// form at the end of a word), and differs from the one-code-point mapping only for U+0130, which
// becomes "i" plus a combining dot. Text without a capital sigma is therefore mapped code point by
// code point, which is several times faster than converting to UTF-16 and back.
void lowercaseMixed(std::string_view s, std::string& out) {
    if (s.find("\xCE\xA3") != std::string_view::npos) {
        lowercaseGeneral(s, out);
        return;
    }
    out.clear();
    out.reserve(s.size() + 8);
    for (std::size_t i = 0; i < s.size();) {
        const char byte = s[i];
        if (static_cast<unsigned char>(byte) < 0x80) {
            out += (byte >= 'A' && byte <= 'Z') ? static_cast<char>(byte - 'A' + 'a') : byte;
            ++i;
            continue;
        }
        const char32_t c = decodeNext(s, i);
        if (c == 0x130) {
            out += "i\xCC\x87";
        } else {
            appendUtf8(static_cast<char32_t>(u_tolower(static_cast<UChar32>(c))), out);
        }
    }
}

// Trims code points of class `unwanted` from both ends; `has` is hasClass or, for the general
// path, hasClassWithIcu.
template <typename HasClass>
std::string_view trimClass(std::string_view s, std::uint8_t unwanted, HasClass has) {
    std::size_t begin = 0;
    while (begin < s.size()) {
        std::size_t next = begin;
        const char32_t c = static_cast<unsigned char>(s[begin]) < 0x80
                               ? static_cast<char32_t>(s[next++])
                               : decodeNext(s, next);
        if (!has(c, unwanted)) {
            break;
        }
        begin = next;
    }
    // From the end, ASCII bytes are judged alone; at the first other byte the rest is decoded
    // forwards, since an ill-formed sequence can only be delimited that way.
    std::size_t end = s.size();
    while (end > begin && static_cast<unsigned char>(s[end - 1]) < 0x80) {
        if (!has(static_cast<char32_t>(s[end - 1]), unwanted)) {
            return s.substr(begin, end - begin);
        }
        --end;
    }
    std::size_t keptEnd = begin;
    for (std::size_t i = begin; i < end;) {
        if (!has(decodeNext(s, i), unwanted))
            keptEnd = i;
    }
    return s.substr(begin, keptEnd - begin);
}

}  // namespace

bool isAscii(std::string_view s) {
    const char* p = s.data();
    std::size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, p + i, 8);
        if (word & 0x8080808080808080ULL)
            return false;
    }
    for (; i < s.size(); ++i) {
        if (static_cast<unsigned char>(p[i]) & 0x80)
            return false;
    }
    return true;
}

std::vector<std::string_view> characters(std::string_view s) {
    std::vector<std::string_view> result;
    auto add = [&](std::size_t begin, std::size_t end) {
        result.push_back(s.substr(begin, end - begin));
    };
    if (isAscii(s)) {
        forEachCharacterAscii(s, add);
    } else {
        auto& ends = endsBuffer();
        breaks::characterEnds(s, ends);
        std::size_t begin = 0;
        for (const std::size_t end : ends) {
            add(begin, end);
            begin = end;
        }
    }
    return result;
}

std::size_t characterCount(std::string_view s) {
    // One pass for ASCII text: a byte per character, less one for each "\r\n".
    std::size_t pairs = 0;
    unsigned char previous = 0;
    unsigned char high = 0;
    for (const char c : s) {
        const auto byte = static_cast<unsigned char>(c);
        high |= byte;
        pairs += static_cast<std::size_t>((byte == '\n') & (previous == '\r'));
        previous = byte;
    }
    if (high < 0x80) {
        return s.size() - pairs;
    }
    auto& ends = endsBuffer();
    breaks::characterEnds(s, ends);
    return ends.size();
}

std::vector<std::string_view> spaceWords(std::string_view s) {
    std::vector<std::string_view> words;
    spaceWords(s, words);
    return words;
}

void spaceWords(std::string_view s, std::vector<std::string_view>& words) {
    // U+0020 is the byte 0x20, which never occurs inside a multi-byte UTF-8 sequence.
    words.clear();
    std::size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        const std::size_t start = i;
        while (i < s.size() && s[i] != ' ')
            ++i;
        if (i > start)
            words.push_back(s.substr(start, i - start));
    }
}

std::size_t spaceWordCount(std::string_view s) {
    // A word starts at every byte that is not a space and follows a space (or the start). Written
    // without branches so the compiler can vectorise it: this runs over every message, often
    // several times.
    std::size_t count = 0;
    unsigned char previous = ' ';
    for (const char c : s) {
        const auto byte = static_cast<unsigned char>(c);
        count += static_cast<std::size_t>((byte != ' ') & (previous == ' '));
        previous = byte;
    }
    return count;
}

std::vector<std::string_view> letterRuns(std::string_view s) {
    std::vector<std::string_view> out;
    letterRuns(s, out);
    return out;
}

std::vector<std::string_view> letterOrNumberRuns(std::string_view s) {
    std::vector<std::string_view> out;
    letterOrNumberRuns(s, out);
    return out;
}

void letterRuns(std::string_view s, std::vector<std::string_view>& out) {
    runs(s, kLetter, out);
}

void letterOrNumberRuns(std::string_view s, std::vector<std::string_view>& out) {
    runs(s, kLetter | kNumber, out);
}

std::string lowercase(std::string_view s) {
    std::string out;
    lowercase(s, out);
    return out;
}

void lowercase(std::string_view s, std::string& out) {
    if (isAscii(s)) {
        lowercaseAscii(s, out);
    } else {
        lowercaseMixed(s, out);
    }
}

std::string_view trimPunctuation(std::string_view s) {
    return trimClass(s, kPunctuation, hasClass);
}

std::string_view trimSpacesAndTabs(std::string_view s) {
    const std::size_t begin = s.find_first_not_of(" \t");
    if (begin == std::string_view::npos)
        return s.substr(0, 0);
    const std::size_t end = s.find_last_not_of(" \t");
    return s.substr(begin, end + 1 - begin);
}

std::string_view trimWhitespace(std::string_view s) {
    return trimClass(s, kWhiteSpace, hasClass);
}

bool isEmojiCodePoint(char32_t c) {
    return c >= 0x238D && u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_EMOJI);
}

bool containsEmoji(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        if (static_cast<unsigned char>(s[i]) < 0x80) {
            ++i;  // no ASCII code point reaches U+238D
            continue;
        }
        if (isEmojiCodePoint(decodeNext(s, i)))
            return true;
    }
    return false;
}

std::vector<char32_t> codePoints(std::string_view s) {
    std::vector<char32_t> result;
    result.reserve(s.size());
    for (std::size_t i = 0; i < s.size();)
        result.push_back(decodeNext(s, i));
    return result;
}

namespace general {

std::vector<std::string_view> characters(std::string_view s) {
    std::vector<std::string_view> result;
    auto& ends = endsBuffer();
    breaks::characterEndsWithIcu(s, ends);
    std::size_t begin = 0;
    for (const std::size_t end : ends) {
        result.push_back(s.substr(begin, end - begin));
        begin = end;
    }
    return result;
}

std::vector<std::string_view> letterRuns(std::string_view s) {
    std::vector<std::string_view> out;
    auto& ends = endsBuffer();
    breaks::characterEndsWithIcu(s, ends);
    collectRuns(s, ends, kLetter, hasClassWithIcu, out);
    return out;
}

std::vector<std::string_view> letterOrNumberRuns(std::string_view s) {
    std::vector<std::string_view> out;
    auto& ends = endsBuffer();
    breaks::characterEndsWithIcu(s, ends);
    collectRuns(s, ends, kLetter | kNumber, hasClassWithIcu, out);
    return out;
}

std::string lowercase(std::string_view s) {
    std::string out;
    lowercaseGeneral(s, out);
    return out;
}

std::string_view trimPunctuation(std::string_view s) {
    return trimClass(s, kPunctuation, hasClassWithIcu);
}

std::string_view trimWhitespace(std::string_view s) {
    return trimClass(s, kWhiteSpace, hasClassWithIcu);
}

}  // namespace general
std::string join(const std::vector<std::string>& items, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0)
            out += separator;
        out += items[i];
    }
    return out;
}

}  // namespace lumenary::text
