#include "text/TextRules.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>

namespace lumenary::text {
namespace {

// These rules run over every message of archives with a million messages, most of them plain
// ASCII. For ASCII text every byte is one character except "\r\n" (one grapheme cluster), and the
// category of each byte is fixed, so ASCII text skips ICU's break iterator and case mapping. The
// byte classes are read from ICU itself, so the fast path cannot disagree with the general one.

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

const std::array<std::uint8_t, 128>& asciiClasses() {
    static const std::array<std::uint8_t, 128> table = [] {
        std::array<std::uint8_t, 128> t{};
        for (char32_t c = 0; c < 128; ++c)
            t[c] = classifyWithIcu(c);
        return t;
    }();
    return table;
}

std::uint8_t classOf(char32_t c) {
    return c < 128 ? asciiClasses()[c] : classifyWithIcu(c);
}

// The code point starting at byte `i`, advancing `i` past it; an ill-formed sequence gives U+FFFD
// and advances by its maximal subpart, as ICU's own converters do.
char32_t decodeNext(std::string_view s, std::size_t& i) {
    const char* bytes = s.data();
    const std::size_t length = s.size();
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(bytes, i, length, c);
    return static_cast<char32_t>(c);
}

char32_t firstCodePoint(std::string_view s, std::size_t begin) {
    return decodeNext(s, begin);
}

// One break iterator per thread: creating one costs far more than a message, and callers on
// different threads must not share one.
icu::BreakIterator* characterBreaker() {
    thread_local const std::unique_ptr<icu::BreakIterator> breaker = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> created(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status))
            created.reset();
        return created;
    }();
    return breaker.get();
}

// Calls visit(begin, end) with the byte range of each grapheme cluster, using ICU's rules.
template <typename Visit>
void forEachCharacterGeneral(std::string_view s, Visit&& visit) {
    if (s.empty())
        return;
    icu::BreakIterator* breaker = characterBreaker();
    // The iterator reports int32 offsets; longer text (never a single message) falls back below.
    if (breaker != nullptr && s.size() <= static_cast<std::size_t>(INT32_MAX)) {
        UErrorCode status = U_ZERO_ERROR;
        UText text = UTEXT_INITIALIZER;
        utext_openUTF8(&text, s.data(), static_cast<int64_t>(s.size()), &status);
        // The iterator keeps its own shallow clone of the UText, so ours can be closed at once.
        breaker->setText(&text, status);
        utext_close(&text);
        if (U_SUCCESS(status)) {
            std::int32_t start = breaker->first();
            for (std::int32_t end = breaker->next(); end != icu::BreakIterator::DONE;
                 start = end, end = breaker->next()) {
                visit(static_cast<std::size_t>(start), static_cast<std::size_t>(end));
            }
            return;
        }
    }
    // Without break rules every code point stands alone: lengths may come out long, but no text is
    // lost.
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t begin = i;
        decodeNext(s, i);
        visit(begin, i);
    }
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
template <typename ForEachCharacter>
void collectRuns(std::string_view s, std::uint8_t wanted, std::vector<std::string_view>& out,
                 ForEachCharacter forEachCharacter) {
    out.clear();
    constexpr std::size_t none = std::string_view::npos;
    std::size_t runStart = none;
    forEachCharacter(s, [&](std::size_t begin, std::size_t) {
        if (classOf(firstCodePoint(s, begin)) & wanted) {
            if (runStart == none)
                runStart = begin;
        } else if (runStart != none) {
            out.push_back(s.substr(runStart, begin - runStart));
            runStart = none;
        }
    });
    if (runStart != none)
        out.push_back(s.substr(runStart));
}

void collectRunsAscii(std::string_view s, std::uint8_t wanted, std::vector<std::string_view>& out) {
    // "\r" and "\n" are neither letters nor numbers, so their pairing never matters here.
    out.clear();
    const auto& classes = asciiClasses();
    std::size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && !(classes[static_cast<unsigned char>(s[i])] & wanted))
            ++i;
        const std::size_t start = i;
        while (i < s.size() && (classes[static_cast<unsigned char>(s[i])] & wanted))
            ++i;
        if (i > start)
            out.push_back(s.substr(start, i - start));
    }
}

void runs(std::string_view s, std::uint8_t wanted, std::vector<std::string_view>& out) {
    if (isAscii(s)) {
        collectRunsAscii(s, wanted, out);
    } else {
        collectRuns(s, wanted, out,
                    [](std::string_view t, auto&& visit) { forEachCharacterGeneral(t, visit); });
    }
}

void lowercaseAscii(std::string_view s, std::string& out) {
    out.resize(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        const char c = s[i];
        out[i] = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
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

// Trims code points of class `unwanted` from both ends; `classify` is the fast table lookup or,
// for the general path, ICU on every code point.
template <typename Classify>
std::string_view trimClass(std::string_view s, std::uint8_t unwanted, Classify classify) {
    std::size_t keptBegin = s.size();
    std::size_t keptEnd = 0;
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t begin = i;
        if (!(classify(decodeNext(s, i)) & unwanted)) {
            if (keptEnd == 0)
                keptBegin = begin;
            keptEnd = i;
        }
    }
    return keptEnd == 0 ? s.substr(0, 0) : s.substr(keptBegin, keptEnd - keptBegin);
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
        forEachCharacterGeneral(s, add);
    }
    return result;
}

std::size_t characterCount(std::string_view s) {
    std::size_t count = 0;
    if (isAscii(s)) {
        count = s.size();
        for (std::size_t i = 1; i < s.size(); ++i) {
            if (s[i] == '\n' && s[i - 1] == '\r')
                --count;
        }
        return count;
    }
    forEachCharacterGeneral(s, [&](std::size_t, std::size_t) { ++count; });
    return count;
}

std::vector<std::string_view> spaceWords(std::string_view s) {
    // U+0020 is the byte 0x20, which never occurs inside a multi-byte UTF-8 sequence.
    std::vector<std::string_view> words;
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
    return words;
}

std::size_t spaceWordCount(std::string_view s) {
    std::size_t count = 0;
    bool inWord = false;
    for (const char c : s) {
        if (c == ' ') {
            inWord = false;
        } else if (!inWord) {
            inWord = true;
            ++count;
        }
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
        lowercaseGeneral(s, out);
    }
}

std::string_view trimPunctuation(std::string_view s) {
    return trimClass(s, kPunctuation, classOf);
}

std::string_view trimSpacesAndTabs(std::string_view s) {
    const std::size_t begin = s.find_first_not_of(" \t");
    if (begin == std::string_view::npos)
        return s.substr(0, 0);
    const std::size_t end = s.find_last_not_of(" \t");
    return s.substr(begin, end + 1 - begin);
}

std::string_view trimWhitespace(std::string_view s) {
    return trimClass(s, kWhiteSpace, classOf);
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
    forEachCharacterGeneral(s, [&](std::size_t begin, std::size_t end) {
        result.push_back(s.substr(begin, end - begin));
    });
    return result;
}

std::vector<std::string_view> letterRuns(std::string_view s) {
    std::vector<std::string_view> out;
    collectRuns(s, kLetter, out,
                [](std::string_view t, auto&& visit) { forEachCharacterGeneral(t, visit); });
    return out;
}

std::vector<std::string_view> letterOrNumberRuns(std::string_view s) {
    std::vector<std::string_view> out;
    collectRuns(s, kLetter | kNumber, out,
                [](std::string_view t, auto&& visit) { forEachCharacterGeneral(t, visit); });
    return out;
}

std::string lowercase(std::string_view s) {
    std::string out;
    lowercaseGeneral(s, out);
    return out;
}

std::string_view trimPunctuation(std::string_view s) {
    return trimClass(s, kPunctuation, classifyWithIcu);
}

std::string_view trimWhitespace(std::string_view s) {
    return trimClass(s, kWhiteSpace, classifyWithIcu);
}

}  // namespace general
}  // namespace lumenary::text
