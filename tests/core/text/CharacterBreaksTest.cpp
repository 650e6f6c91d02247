#include <gtest/gtest.h>
#include <unicode/unistr.h>

#include <random>
#include <string>
#include <vector>

#include "text/CharacterBreaks.h"

namespace lumenary::text::breaks {
namespace {

std::string utf8(char32_t c) {
    std::string out;
    return icu::UnicodeString(static_cast<UChar32>(c)).toUTF8String(out);
}

// Pieces of text written one after another, separated by '|'.
std::vector<std::string> split(std::string_view pieces) {
    std::vector<std::string> result;
    for (std::size_t start = 0;;) {
        const std::size_t bar = pieces.find('|', start);
        result.emplace_back(pieces.substr(start, bar - start));
        if (bar == std::string_view::npos)
            return result;
        start = bar + 1;
    }
}

// Every scalar value, except that long uniform blocks (CJK ideographs, Hangul syllables, private
// use, unassigned planes) are sampled, to keep the test quick.
std::vector<std::string> sweptCodePoints() {
    auto uniform = [](char32_t c) {
        return (c >= 0x3400 && c <= 0x9FFF) || (c >= 0xAC00 && c <= 0xD7A3) ||
               (c >= 0xE000 && c <= 0xF8FF) || (c >= 0x20000 && c <= 0xDFFFF) || c >= 0xF0000;
    };
    std::vector<std::string> all;
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF)
            continue;
        if (uniform(c) && c % 211 != 0)
            continue;
        all.push_back(utf8(c));
    }
    return all;
}

void expectSameEnds(const std::string& text, const std::string& label) {
    std::vector<std::size_t> fast, icu;
    characterEnds(text, fast);
    characterEndsWithIcu(text, icu);
    if (fast == icu)
        return;
    std::size_t i = 0;
    while (i < fast.size() && i < icu.size() && fast[i] == icu[i])
        ++i;
    const std::size_t at = i < fast.size() ? fast[i] : icu[i];
    const std::size_t from = text.rfind('\n', at > 0 ? at - 1 : 0);
    const std::size_t start = from == std::string::npos ? 0 : from + 1;
    ADD_FAILURE() << label << ": first difference in line \""
                  << text.substr(start, text.find('\n', at) - start) << "\"";
}

// The fast boundaries must equal ICU's for every code point after and before each context in
// which grapheme rules look back or ahead. Each case sits on its own line: a line break always
// ends a character, so one ICU pass checks them all.
TEST(CharacterBreaks, FastBoundariesEqualIcuForEveryCodePointInEveryContext) {
    const std::vector<std::string> before = split(
        "|x|\r|\x01|\u0301|e\u0301|\u200D|x\u200D|\U0001F600\u200D|\U0001F600\u0301\u200D|"
        "\U0001F600\uFE0F|\U0001F1EE|\U0001F1EE\U0001F1F3|\U0001F1EE\U0001F1F3\U0001F1EE|"
        "\u0600|\u1100|\uAC00|\uAC01|\u1161|\u11A8|\u0C15|\u0C15\u0C4D|\u0C15\u0C4D\u200D|"
        "\u0C15\u0C4D\u0C55|\u0C15\u0C3E|\u0C4D|\u0915\u094D|\u0915\u093C\u094D|\u0D15\u0D4D|"
        "\u0B95\u0BCD|\u0903|\u00A9\u200D");
    const std::vector<std::string> after = split(
        "|x|\u0301|\u200D\U0001F600|\u0C4D\u0C15|\U0001F1EE|\u1161|\u11A8|\u0903|\n|\u0C15|"
        "\u200D");
    const std::vector<std::string> codePoints = sweptCodePoints();
    for (const auto& prefix : before) {
        std::string text;
        for (const auto& c : codePoints)
            text += prefix + c + "\n";
        expectSameEnds(text, "after \"" + prefix + "\"");
    }
    for (const auto& suffix : after) {
        std::string text;
        for (const auto& c : codePoints)
            text += c + suffix + "\n";
        expectSameEnds(text, "before \"" + suffix + "\"");
    }
}

TEST(CharacterBreaks, FastBoundariesEqualIcuOnRandomMixedText) {
    const std::vector<std::string> pieces = split(
        "a|Z| |!|\r|\n|\t|\x7F|1|\u00E9|\u0301|\u0327|\u200D|\u200C|\uFE0F|\U0001F600|"
        "\U0001F64F|\U0001F3FD|\u2764|\u00A9|\U0001F1EE|\U0001F1F3|\u0600|\u0D4E|\u1100|\u1161|"
        "\u11A8|\uAC00|\uAC01|\u0C15|\u0C37|\u0C4D|\u0C3E|\u0C41|\u0C02|\u0C55|\u0915|\u094D|"
        "\u093C|\u0903|\u0B95|\u0BCD|\u0E33|\u0E01|\U000E0061|\U000E007F|\xFF|\xE0\x80|"
        "\xF0\x9F\x98|\u0085|\u2028");
    std::mt19937 random(7);
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
    std::uniform_int_distribution<int> length(1, 16);
    std::string text;
    for (int line = 0; line < 30000; ++line) {
        const int n = length(random);
        for (int i = 0; i < n; ++i)
            text += pieces[pick(random)];
        text += "\n";
    }
    expectSameEnds(text, "random text");
}

}  // namespace
}  // namespace lumenary::text::breaks
