#pragma once
// Where the user-perceived characters (extended grapheme clusters) of UTF-8 text end. Used by the
// text rules; other code calls text::characters and friends instead.

#include "text/TextRules.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace lumenary::text::breaks {

/// The code point that starts at byte `i` of `s`, advancing `i` past it. `i` < s.size().
inline char32_t decodeNext(std::string_view s, std::size_t& i) {
    std::size_t next = i;
    const char32_t c = codePointAt(s, i, next);
    i = next;
    return c;
}

/// Replaces the content of `ends` with the end offset of every character of `s`, in order.
/// Decides almost every boundary from code point properties and hands only undecided stretches
/// (Hangul jamo, Indic conjuncts) to ICU's break iterator; the result equals characterEndsWithIcu.
void characterEnds(std::string_view s, std::vector<std::size_t>& ends);

/// The same, computed by ICU's character break iterator over the whole of `s`.
void characterEndsWithIcu(std::string_view s, std::vector<std::size_t>& ends);

}  // namespace lumenary::text::breaks
