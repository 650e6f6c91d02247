#pragma once
// The text rules that the voice model, the few-shot bank and retrieval share. All text is UTF-8;
// invalid bytes are treated as U+FFFD and never crash.
//
// A "character" is a user-perceived character (an extended grapheme cluster); every length is
// counted in characters. Returned views point into the argument.

#include <unicode/utf8.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumenary::text {

/// The user-perceived characters of `s`, in order.
std::vector<std::string_view> characters(std::string_view s);
std::size_t characterCount(std::string_view s);

/// The pieces of `s` cut at each U+0020 space, empty pieces dropped (tabs and newlines do not cut).
std::vector<std::string_view> spaceWords(std::string_view s);
/// The same pieces written into `out` (cleared first), reusing its capacity.
void spaceWords(std::string_view s, std::vector<std::string_view>& out);
std::size_t spaceWordCount(std::string_view s);

/// Maximal runs of letters (a character whose first code point is Lu, Ll, Lt, Lm or Lo); every
/// other character separates runs.
std::vector<std::string_view> letterRuns(std::string_view s);
/// Maximal runs of letters or numbers (a character whose first code point has a numeric type).
std::vector<std::string_view> letterOrNumberRuns(std::string_view s);
/// The same runs written into `out` (cleared first), so a loop over a whole archive can reuse one
/// vector instead of allocating one per message.
void letterRuns(std::string_view s, std::vector<std::string_view>& out);
void letterOrNumberRuns(std::string_view s, std::vector<std::string_view>& out);

/// The locale-independent (root) Unicode lowercase mapping.
std::string lowercase(std::string_view s);
/// The same mapping written into `out` (replacing its content), reusing its capacity.
void lowercase(std::string_view s, std::string& out);

/// `s` without the code points of the Unicode punctuation categories (Pc Pd Ps Pe Pi Pf Po) at
/// either end.
std::string_view trimPunctuation(std::string_view s);
/// `s` without spaces and tabs at either end.
std::string_view trimSpacesAndTabs(std::string_view s);
/// `s` without Unicode white space and newlines at either end.
std::string_view trimWhitespace(std::string_view s);

/// `items` with `separator` between each two.
std::string join(const std::vector<std::string>& items, std::string_view separator);

/// An emoji code point has the Unicode property Emoji and a value of at least U+238D (so digits,
/// "#" and "©" are not emoji).
bool isEmojiCodePoint(char32_t c);
/// True when `s` holds at least one emoji code point.
bool containsEmoji(std::string_view s);

/// Decodes the code points of `s` (invalid sequences give U+FFFD).
std::vector<char32_t> codePoints(std::string_view s);

/// The code point that starts at byte `i` (< s.size()) of `s`; `next` is where the one after it
/// starts. An ill-formed sequence reads as one U+FFFD per maximal subpart, as ICU's converters
/// read it, so every reader of raw bytes agrees on what a broken file says.
inline char32_t codePointAt(std::string_view s, std::size_t i, std::size_t& next) {
    const auto lead = static_cast<unsigned char>(s[i]);
    next = i + 1;
    if (lead < 0x80)
        return lead;
    UChar32 c = 0;
    next = i;
    U8_NEXT_OR_FFFD(s.data(), next, s.size(), c);
    return static_cast<char32_t>(c);
}

/// True when every byte of `s` is ASCII; such text takes a fast path in the functions above.
bool isAscii(std::string_view s);

/// The same rules computed by ICU alone (break iterator, full case mapping) over any text. The
/// functions above take faster paths for ASCII and for most other text; these exist so tests can
/// prove those paths equal. Callers use the functions above.
namespace general {
std::vector<std::string_view> characters(std::string_view s);
std::vector<std::string_view> letterRuns(std::string_view s);
std::vector<std::string_view> letterOrNumberRuns(std::string_view s);
std::string lowercase(std::string_view s);
std::string_view trimPunctuation(std::string_view s);
std::string_view trimWhitespace(std::string_view s);
}  // namespace general

/// Entries of a counting table ranked by count, highest first. Ties keep the table's order.
template <typename Table>
std::vector<std::pair<typename Table::key_type, long long>> rankByCount(const Table& table) {
    std::vector<std::pair<typename Table::key_type, long long>> ranked(table.begin(), table.end());
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    return ranked;
}

}  // namespace lumenary::text
