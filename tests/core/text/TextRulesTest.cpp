#include <gtest/gtest.h>
#include <unicode/unistr.h>

#include <random>
#include <string>
#include <vector>

#include "text/TextRules.h"

namespace lumenary::text {
namespace {

using Views = std::vector<std::string_view>;

// Random texts made of `pieces` (separated by '|'), each of up to `longest` pieces.
std::vector<std::string> randomTexts(std::string_view pieces, int count, int longest,
                                     unsigned seed) {
    std::vector<std::string> choices;
    for (std::size_t start = 0;;) {
        const std::size_t bar = pieces.find('|', start);
        choices.emplace_back(pieces.substr(start, bar - start));
        if (bar == std::string_view::npos)
            break;
        start = bar + 1;
    }
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> pick(0, choices.size() - 1);
    std::uniform_int_distribution<int> length(0, longest);
    std::vector<std::string> texts(static_cast<std::size_t>(count));
    for (auto& text : texts) {
        for (int i = length(random); i > 0; --i)
            text += choices[pick(random)];
    }
    return texts;
}

// The fast paths (ASCII, and decided boundaries for other text) against ICU alone.
void expectSameAsGeneral(const std::string& s) {
    ASSERT_EQ(characters(s), general::characters(s)) << s;
    ASSERT_EQ(characterCount(s), general::characters(s).size()) << s;
    ASSERT_EQ(letterRuns(s), general::letterRuns(s)) << s;
    ASSERT_EQ(letterOrNumberRuns(s), general::letterOrNumberRuns(s)) << s;
    ASSERT_EQ(lowercase(s), general::lowercase(s)) << s;
    ASSERT_EQ(trimPunctuation(s), general::trimPunctuation(s)) << s;
    ASSERT_EQ(trimWhitespace(s), general::trimWhitespace(s)) << s;
    ASSERT_EQ(spaceWordCount(s), spaceWords(s).size()) << s;
}

TEST(TextRules, CharactersAreUserPerceivedCharacters) {
    EXPECT_EQ(characters("e\u0301a\r\n"), (Views{"e\u0301", "a", "\r\n"}));
    EXPECT_EQ(
        characterCount("\U0001F1EE\U0001F1F3 \U0001F468\u200D\U0001F469 \U0001F64F\U0001F3FD"),
        5u);  // flag, ZWJ sequence, skin tone, two spaces
    EXPECT_EQ(characterCount("1\uFE0F\u20E3\n\r"), 3u);
    // Vowel signs and virama join their consonant: "నమస్కారం" is four characters.
    EXPECT_EQ(characterCount("\u0C28\u0C2E\u0C38\u0C4D\u0C15\u0C3E\u0C30\u0C02"), 4u);
    EXPECT_TRUE(characters("").empty());
}

TEST(TextRules, WordsAndRunsFollowTheirOwnSeparators) {
    // Only U+0020 cuts space words: not tabs, line breaks or a no-break space.
    EXPECT_EQ(spaceWords("  good\tmorning  amma\nji ok\u00A0da "),
              (Views{"good\tmorning", "amma\nji", "ok\u00A0da"}));
    EXPECT_EQ(spaceWordCount("   "), 0u);

    EXPECT_EQ(letterRuns("Kanna, amma's 2nd!"), (Views{"Kanna", "amma", "s", "nd"}));
    EXPECT_EQ(letterOrNumberRuns("don't 2nd\U0001F64Fday"), (Views{"don", "t", "2nd", "day"}));
    // Combining marks ride on their letter instead of splitting the word.
    EXPECT_EQ(letterRuns("\u0C05\u0C2E\u0C4D\u0C2E cafe\u0301!"),
              (Views{"\u0C05\u0C2E\u0C4D\u0C2E", "cafe\u0301"}));
    // Numbers beyond ASCII digits: fractions, Devanagari digits, Roman numerals.
    EXPECT_EQ(letterOrNumberRuns("\u00BD \u0967\u0968 \u216B"),
              (Views{"\u00BD", "\u0967\u0968", "\u216B"}));
    EXPECT_TRUE(letterRuns("\u00BD \u0967\u0968").empty());

    std::vector<std::string_view> reused{"stale"};
    letterOrNumberRuns("a b", reused);
    EXPECT_EQ(reused, (Views{"a", "b"}));
}

TEST(TextRules, LowercaseIsLocaleIndependentAndTrimmingKeepsTheMiddle) {
    EXPECT_EQ(lowercase("Hello W\u00C9 \u03A9"), "hello w\u00E9 \u03C9");
    // Root mapping: dotted capital I keeps its dot as a combining mark, plain I is never the
    // Turkish dotless i, and a final capital sigma becomes the final form.
    EXPECT_EQ(lowercase("\u0130I \u039F\u03A3 \u03A3"), "i\u0307i \u03BF\u03C2 \u03C3");

    EXPECT_EQ(trimPunctuation("\u00ABRavi!\u00BB"), "Ravi");
    EXPECT_EQ(trimPunctuation("\u00BFdon't?"), "don't");
    EXPECT_EQ(trimPunctuation("!!"), "");
    EXPECT_EQ(trimPunctuation("$5+"), "$5+");  // symbols are not punctuation
    EXPECT_EQ(trimSpacesAndTabs(" \t a b\t \n"), "a b\t \n");
    EXPECT_EQ(trimWhitespace("\u00A0\r\n a b \u2028\u3000"), "a b");
}

TEST(TextRules, EmojiAreCodePointsWithTheEmojiPropertyFromU238D) {
    EXPECT_TRUE(isEmojiCodePoint(U'\U0001F64F'));
    EXPECT_TRUE(isEmojiCodePoint(U'\U0001F1EE'));  // a regional indicator, half a flag
    EXPECT_FALSE(isEmojiCodePoint(U'#'));
    EXPECT_FALSE(isEmojiCodePoint(U'\u00A9'));
    EXPECT_FALSE(isEmojiCodePoint(U'\u231A'));  // has the property but lies below U+238D
    EXPECT_TRUE(containsEmoji("Good morning amma \U0001F64F"));
    EXPECT_FALSE(containsEmoji("call me at #1 \u00A9 1\uFE0F\u20E3"));
}

TEST(TextRules, InvalidUtf8ReadsAsReplacementCharactersWithoutLosingBytes) {
    for (const std::string s : {"\xFF", "ab\xC3", "\xE0\x80\x80 x", "\xED\xA0\x80",
                                "ok \xF0\x9F\x99 da", "\xC3\xA9\x80\x80"}) {
        std::string rejoined;
        for (const std::string_view c : characters(s))
            rejoined += c;
        EXPECT_EQ(rejoined, s);
        expectSameAsGeneral(s);
    }
    EXPECT_EQ(letterRuns("ab\xFF"
                         "cd"),
              (Views{"ab", "cd"}));  // U+FFFD is a symbol
    EXPECT_EQ(codePoints("a\xFF"
                         "b\xF0\x9F\x99"),
              (std::vector<char32_t>{U'a', 0xFFFD, U'b', 0xFFFD}));
    EXPECT_EQ(lowercase("A\xFF"), "a\uFFFD");
}

// Every one- and two-byte ASCII text and many random longer ones, weighted towards the bytes that
// matter (CR, LF, spaces, punctuation), go through both paths.
TEST(TextRules, AsciiFastPathEqualsTheGeneralPath) {
    for (int a = 0; a < 128; ++a) {
        for (int b = -1; b < 128; ++b) {
            std::string s(1, static_cast<char>(a));
            if (b >= 0)
                s += static_cast<char>(b);
            expectSameAsGeneral(s);
        }
    }
    for (const auto& s : randomTexts("\r|\n| |\t|.|,|!|'|-|_|(|a|Z|0|9|\"|#|$|~|@|`|\x7F|\x1F|ab",
                                     20000, 40, 20240229)) {
        ASSERT_TRUE(isAscii(s));
        expectSameAsGeneral(s);
    }
}

// Text with emoji, Indic script, Hangul, sigmas and broken bytes.
TEST(TextRules, MixedTextFastPathEqualsTheGeneralPath) {
    for (const auto& s : randomTexts(
             "amma| |Kanna|!|?|'|2|\u00BD|\U0001F64F|\U0001F3FD|\u2764\uFE0F|"
             "\U0001F468\u200D\U0001F469|\U0001F1EE\U0001F1F3|\u0C28\u0C38\u0C4D\u0C15\u0C3E|"
             "\u0915\u094D\u0937|e\u0301|\r\n|\n|\xFF|\xE0\x80|\uAC00\u11A8|\u0661|\u03A3|"
             "\u039F\u03A3|\u0130|\u1E9E|\U00010400|\u00A0",
             20000, 12, 11)) {
        expectSameAsGeneral(s);
    }
}

// Text that is not pure ASCII is lowercased one code point at a time unless a capital sigma needs
// its context; every code point must come out as ICU's full root mapping gives it.
TEST(TextRules, LowercaseFastPathEqualsIcuForEveryCodePoint) {
    std::string all = "\u00E9";
    for (char32_t c = 0x80; c <= 0x10FFFF; ++c) {
        if ((c >= 0xD800 && c <= 0xDFFF) || c == 0x3A3)
            continue;
        all += ' ';
        icu::UnicodeString(static_cast<UChar32>(c)).toUTF8String(all);
    }
    EXPECT_TRUE(lowercase(all) == general::lowercase(all));
}

}  // namespace
}  // namespace lumenary::text
