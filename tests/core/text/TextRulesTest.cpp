#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "text/TextRules.h"

namespace lumenary::text {
namespace {

using Views = std::vector<std::string_view>;

std::string utf8(char32_t c) {
    std::string out;
    if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    }
    out += static_cast<char>(0x80 | (c & 0x3F));
    return out;
}

std::string joined(const Views& pieces) {
    std::string all;
    for (auto piece : pieces)
        all += piece;
    return all;
}

TEST(TextRules, CharactersAreUserPerceivedCharacters) {
    EXPECT_EQ(characters("e\u0301a"), (Views{"e\u0301", "a"}));
    EXPECT_EQ(characterCount("\U0001F1EE\U0001F1F3"), 1u);  // flag: two code points
    EXPECT_EQ(characterCount("\U0001F468\u200D\U0001F469\u200D\U0001F467"), 1u);  // ZWJ family
    EXPECT_EQ(characterCount("\U0001F64F\U0001F3FD"), 1u);  // skin tone modifier
    EXPECT_EQ(characterCount("1\uFE0F\u20E3"), 1u);         // keycap
    EXPECT_EQ(characters("a\r\nb"), (Views{"a", "\r\n", "b"}));
    EXPECT_EQ(characterCount("\n\r"), 2u);
    // Telugu vowel signs and virama join their consonant: "నమస్కారం" is four characters.
    EXPECT_EQ(characterCount("నమస్కారం"), 4u);
    EXPECT_EQ(characterCount(""), 0u);
    EXPECT_TRUE(characters("").empty());
}

TEST(TextRules, SpaceWordsCutOnlyAtSpaces) {
    EXPECT_EQ(spaceWords("  good\tmorning  amma\nji "), (Views{"good\tmorning", "amma\nji"}));
    EXPECT_EQ(spaceWordCount("  good\tmorning  amma\nji "), 2u);
    EXPECT_TRUE(spaceWords("   ").empty());
    EXPECT_EQ(spaceWordCount(""), 0u);
    // A no-break space is not U+0020.
    EXPECT_EQ(spaceWordCount("ok\u00A0da"), 1u);
}

TEST(TextRules, LetterRunsFollowTheFirstCodePointOfEachCharacter) {
    EXPECT_EQ(letterRuns("amma's"), (Views{"amma", "s"}));
    EXPECT_EQ(letterRuns("Kanna, did you eat? kanna"),
              (Views{"Kanna", "did", "you", "eat", "kanna"}));
    EXPECT_EQ(letterRuns("2nd time!!"), (Views{"nd", "time"}));
    EXPECT_EQ(letterOrNumberRuns("2nd time!!"), (Views{"2nd", "time"}));
    EXPECT_EQ(letterOrNumberRuns("don't"), (Views{"don", "t"}));
    // Combining marks ride on their letter instead of splitting the word.
    EXPECT_EQ(letterRuns("నమస్కారం అమ్మ"), (Views{"నమస్కారం", "అమ్మ"}));
    EXPECT_EQ(letterRuns("cafe\u0301!"), (Views{"cafe\u0301"}));
    // Numbers beyond ASCII digits: fractions, Devanagari digits, Roman numerals.
    EXPECT_EQ(letterOrNumberRuns("½ १२ Ⅻ"), (Views{"½", "१२", "Ⅻ"}));
    EXPECT_TRUE(letterRuns("½ १२").empty());
    EXPECT_EQ(letterRuns("love\U0001F64Fyou"), (Views{"love", "you"}));
    EXPECT_TRUE(letterOrNumberRuns("?! \U0001F64F").empty());

    std::vector<std::string_view> reused{"stale"};
    letterOrNumberRuns("a b", reused);
    EXPECT_EQ(reused, (Views{"a", "b"}));
}

TEST(TextRules, LowercaseIsLocaleIndependent) {
    EXPECT_EQ(lowercase("Hello WORLD 42"), "hello world 42");
    EXPECT_EQ(lowercase("ÀÉÎ Ω"), "àéî ω");
    // Root mapping: dotted capital I keeps its dot as a combining mark, and plain I is never the
    // Turkish dotless ı, whatever the user's locale.
    EXPECT_EQ(lowercase("İI"), "i\u0307i");
    EXPECT_EQ(lowercase("నమస్కారం"), "నమస్కారం");
    std::string reused = "previous content that is longer";
    lowercase("AB\u00C9", reused);
    EXPECT_EQ(reused, "ab\u00E9");
}

TEST(TextRules, TrimmingRemovesOnlyTheNamedClassesAtTheEnds) {
    EXPECT_EQ(trimPunctuation("\u00ABRavi!\u00BB"), "Ravi");
    EXPECT_EQ(trimPunctuation("(ok...)"), "ok");
    EXPECT_EQ(trimPunctuation("\u00BFqu\u00E9?"), "qu\u00E9");
    EXPECT_EQ(trimPunctuation("!!"), "");
    EXPECT_EQ(trimPunctuation("don't"), "don't");
    EXPECT_EQ(trimPunctuation("$5+"), "$5+");  // symbols are not punctuation
    EXPECT_EQ(trimPunctuation("ok\U0001F64F."), "ok\U0001F64F");
    EXPECT_EQ(trimSpacesAndTabs(" \t a b\t "), "a b");
    EXPECT_EQ(trimSpacesAndTabs(" \n"), "\n");
    EXPECT_EQ(trimWhitespace("\u00A0\r\n a b \u2028\u3000"), "a b");
    EXPECT_EQ(trimWhitespace(" \t\n"), "");
}

TEST(TextRules, EmojiAreCodePointsWithTheEmojiPropertyFromU238D) {
    EXPECT_TRUE(isEmojiCodePoint(U'\U0001F64F'));
    EXPECT_TRUE(isEmojiCodePoint(U'\u2764'));
    EXPECT_TRUE(isEmojiCodePoint(U'\U0001F1EE'));  // regional indicator
    EXPECT_FALSE(isEmojiCodePoint(U'1'));
    EXPECT_FALSE(isEmojiCodePoint(U'#'));
    EXPECT_FALSE(isEmojiCodePoint(U'\u00A9'));
    EXPECT_FALSE(isEmojiCodePoint(U'\u231A'));  // has the property but lies below U+238D
    EXPECT_FALSE(isEmojiCodePoint(U'\u0C05'));
    EXPECT_TRUE(containsEmoji("Good morning amma \U0001F64F"));
    EXPECT_FALSE(containsEmoji("call me at #1 \u00A9 \u20E3"));
    EXPECT_FALSE(containsEmoji(""));
}

TEST(TextRules, InvalidUtf8ReadsAsReplacementCharactersWithoutLosingBytes) {
    const std::vector<std::string> broken = {
        "\xFF",
        "ab\xC3",
        "\xE0\x80\x80 x",
        "\xED\xA0\x80",
        "\xF4\x90\x80\x80",
        "ok \xF0\x9F\x99 da",
        "\xC3\xA9\x80\x80",
        std::string("a\0b", 3),
    };
    for (const auto& s : broken) {
        SCOPED_TRACE(s);
        EXPECT_EQ(joined(characters(s)), s);
        EXPECT_GE(characterCount(s), 1u);
        const std::string lower = lowercase(s);
        EXPECT_FALSE(lower.empty());
        letterOrNumberRuns(s);
        trimPunctuation(s);
        trimWhitespace(s);
        containsEmoji(s);
    }
    // A replacement character is a symbol: it separates words like any other.
    EXPECT_EQ(letterRuns("ab\xFF"
                         "cd\xC3"),
              (Views{"ab", "cd"}));
    EXPECT_EQ(codePoints("a\xFF"
                         "b"),
              (std::vector<char32_t>{U'a', 0xFFFD, U'b'}));
    EXPECT_EQ(lowercase("A\xFF"), "a\uFFFD");
    EXPECT_EQ(codePoints("\xF0\x9F\x99"), (std::vector<char32_t>{0xFFFD}));
}

// The ASCII fast path must give exactly what ICU gives. Every one- and two-byte ASCII text and many
// random longer ones (weighted towards the bytes that matter: CR, LF, spaces, punctuation) go
// through both paths.
TEST(TextRules, AsciiFastPathEqualsTheGeneralPath) {
    std::vector<std::string> samples;
    for (int a = 0; a < 128; ++a) {
        samples.push_back(std::string(1, static_cast<char>(a)));
        for (int b = 0; b < 128; ++b) {
            samples.push_back(std::string{static_cast<char>(a), static_cast<char>(b)});
        }
    }
    std::mt19937 random(20240229);
    const std::string favoured = "\r\n \t.,!?'-_()aZ09\"#*";
    std::uniform_int_distribution<int> anyByte(0, 127), length(0, 40), coin(0, 1);
    std::uniform_int_distribution<std::size_t> favouredIndex(0, favoured.size() - 1);
    for (int n = 0; n < 20000; ++n) {
        std::string s;
        const int size = length(random);
        for (int i = 0; i < size; ++i) {
            s +=
                coin(random) ? favoured[favouredIndex(random)] : static_cast<char>(anyByte(random));
        }
        samples.push_back(s);
    }

    for (const auto& s : samples) {
        ASSERT_TRUE(isAscii(s));
        ASSERT_EQ(characters(s), general::characters(s)) << s;
        ASSERT_EQ(characterCount(s), general::characters(s).size()) << s;
        ASSERT_EQ(letterRuns(s), general::letterRuns(s)) << s;
        ASSERT_EQ(letterOrNumberRuns(s), general::letterOrNumberRuns(s)) << s;
        ASSERT_EQ(lowercase(s), general::lowercase(s)) << s;
        ASSERT_EQ(trimPunctuation(s), general::trimPunctuation(s)) << s;
        ASSERT_EQ(trimWhitespace(s), general::trimWhitespace(s)) << s;
        ASSERT_EQ(spaceWordCount(s), spaceWords(s).size()) << s;
        ASSERT_FALSE(containsEmoji(s));
    }
    EXPECT_FALSE(isAscii("caf\u00E9"));
    EXPECT_FALSE(isAscii("12345678\u00E9"));
}

// Text that is not pure ASCII (here, from U+0080 up) takes its own fast lowercase (one code point
// at a time unless a capital sigma needs its context). Every code point, and random text with
// sigmas and broken bytes, must come out as ICU's full root mapping gives it.
TEST(TextRules, LowercaseFastPathEqualsIcuForEveryCodePoint) {
    std::string all = "\u00E9";
    for (char32_t c = 0x80; c <= 0x10FFFF; ++c) {
        if ((c >= 0xD800 && c <= 0xDFFF) || c == 0x3A3)
            continue;
        all += ' ';
        all += utf8(c);
    }
    EXPECT_TRUE(lowercase(all) == general::lowercase(all));

    const std::vector<std::string> pieces = {
        "A",    "b",        " ", "\u03A3", "\u03A3\u0301", "\u0391", "\u00C9", "\u0130", "\u1E9E",
        "\xFF", "\xE0\x80", ".", "'",      "\U00010400",   "\u0C15"};
    std::mt19937 random(3);
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
    for (int n = 0; n < 5000; ++n) {
        std::string s = "\u00E9";
        for (int i = 0; i < 8; ++i)
            s += pieces[pick(random)];
        ASSERT_EQ(lowercase(s), general::lowercase(s)) << s;
    }
    EXPECT_EQ(lowercase("\u039F\u0394\u039F\u03A3 \u03A3"), "\u03BF\u03B4\u03BF\u03C2 \u03C3");
}

// Runs and characters of text with emoji, Indic script and broken bytes match the ICU-only path.
TEST(TextRules, MixedTextFastPathEqualsTheGeneralPath) {
    const std::vector<std::string> pieces = {
        "amma",
        " ",
        "Kanna",
        "!",
        "?",
        "'",
        "2",
        "\u00BD",
        "\U0001F64F",
        "\U0001F3FD",
        "\u2764\uFE0F",
        "\U0001F468\u200D\U0001F469",
        "\U0001F1EE\U0001F1F3",
        "\u0C28\u0C2E\u0C38\u0C4D\u0C15\u0C3E\u0C30\u0C02",
        "\u0C05\u0C2E\u0C4D\u0C2E",
        "\u0915\u094D\u0937",
        "e\u0301",
        "\r\n",
        "\n",
        "\xFF",
        "\uAC00\u11A8",
        "\u0661",
    };
    std::mt19937 random(11);
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
    std::uniform_int_distribution<int> length(1, 12);
    for (int n = 0; n < 20000; ++n) {
        std::string s;
        for (int i = length(random); i > 0; --i)
            s += pieces[pick(random)];
        ASSERT_EQ(characters(s), general::characters(s)) << s;
        ASSERT_EQ(characterCount(s), general::characters(s).size()) << s;
        ASSERT_EQ(letterRuns(s), general::letterRuns(s)) << s;
        ASSERT_EQ(letterOrNumberRuns(s), general::letterOrNumberRuns(s)) << s;
        ASSERT_EQ(trimPunctuation(s), general::trimPunctuation(s)) << s;
        ASSERT_EQ(trimWhitespace(s), general::trimWhitespace(s)) << s;
    }
}

}  // namespace
}  // namespace lumenary::text
