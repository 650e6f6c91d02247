// The fast paths of the noise test must give the plain rule's answer on any text: ICU's
// call-log pattern on the lower-cased text, and a search for each phrase in turn.

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/stringoptions.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <array>
#include <random>
#include <span>
#include <string>

#include "importer/NoiseRules.h"
#include "importer/NoticeTables.h"
#include "importer/WhatsAppParser.h"
#include "text/TextRules.h"

namespace lumenary {
namespace {

// A call log of the tables: the whole text, or its start before ", " and at most 30 characters
// on one line.
bool isTableCallLogByTheRule(const std::string& lowered) {
    for (const std::string_view entry : NoticeTables::callLogs()) {
        if (lowered == entry)
            return true;
        const std::string start = std::string(entry) + ", ";
        if (lowered.starts_with(start)) {
            const std::string tail = lowered.substr(start.size());
            if (tail.find_first_of("\r\n") == std::string::npos &&
                text::codePoints(tail).size() <= 30) {
                return true;
            }
        }
    }
    return false;
}

bool isNoiseByTheRule(std::string_view body) {
    const std::string_view trimmed = text::trimWhitespace(body);
    const std::string lowered = text::lowercase(trimmed);
    if (trimmed.empty())
        return true;
    for (const std::string_view phrase : NoiseRules::phrases()) {
        if (lowered.find(phrase) != std::string::npos)
            return true;
    }
    if (isTableCallLogByTheRule(lowered) || NoiseRules::isAttachmentLine(trimmed))
        return true;
    if (lowered.starts_with("<attached") || lowered.starts_with("\u200E<attached"))
        return true;
    if (trimmed.front() == '<' && trimmed.back() == '>' && text::characterCount(trimmed) < 120) {
        return true;
    }
    if (NoiseRules::isCallLogByRegex(lowered))
        return true;
    return lowered.starts_with("http") && trimmed.find(' ') == std::string_view::npos;
}

// Pieces of call logs and notices, near misses, every case, and the characters that fold or
// lower-case to ASCII letters.
const std::array<std::string, 52> kPieces = {"missed",
                                             "Missed",
                                             "MISSED",
                                             "mi\u017F\u017Fed",
                                             "group",
                                             "voice",
                                             "Video",
                                             "incoming",
                                             "outgoing",
                                             "silenced",
                                             "call",
                                             "CALL",
                                             "Call",
                                             "ca",
                                             "ll",
                                             " ",
                                             "  ",
                                             "\t",
                                             "\u00A0",
                                             "\n",
                                             "\r\n",
                                             "\u2028",
                                             ",",
                                             ", ",
                                             "12",
                                             "5",
                                             "1234",
                                             "\u0665",
                                             "min",
                                             "minutes",
                                             "HRS",
                                             "sec",
                                             "busy",
                                             "BU\u017FY",
                                             "try again",
                                             "no answer",
                                             "unanswered",
                                             "declined",
                                             "ended",
                                             "failed",
                                             "not answered",
                                             "\u212Aelvin",
                                             "\u0130",
                                             "\uFB00",
                                             "\u1E9E",
                                             "media omitted",
                                             "IMAGE OMITTED",
                                             "this message was deleted",
                                             "<attached",
                                             "http://x",
                                             "\U0001F60A",
                                             "ok"};

std::string randomText(std::mt19937& random) {
    std::string text;
    for (int n = 1 + static_cast<int>(random() % 5); n > 0; --n) {
        text += kPieces[random() % kPieces.size()];
    }
    return text;
}

TEST(NoiseRules, CallLogShortcutsAgreeWithTheRegularExpression) {
    std::mt19937 random(2021);
    int matched = 0;
    for (int i = 0; i < 50000; ++i) {
        const std::string text = randomText(random);
        const std::string lowered = text::lowercase(text);
        for (const std::string& candidate : {text, lowered}) {
            const bool expected = NoiseRules::isCallLogByRegex(candidate);
            ASSERT_EQ(NoiseRules::isCallLog(candidate), expected) << "\"" << candidate << "\"";
            matched += expected;
        }
    }
    EXPECT_GT(matched, 500);
}

TEST(NoiseRules, NoiseShortcutsAgreeWithThePlainRule) {
    std::mt19937 random(12);
    for (int i = 0; i < 4000; ++i) {
        std::string body = randomText(random);
        if (random() % 4 == 0)
            body = "<" + body + ">";
        ASSERT_EQ(WhatsAppParser::isNoise(body), isNoiseByTheRule(body)) << "\"" << body << "\"";
        // Phrases whole or cut short, between pieces, so that the jumps of the phrase search
        // pass over every alignment.
        const std::span<const std::string_view> phrases = NoiseRules::phrases();
        for (int k = 0; k < 8; ++k) {
            const std::string_view phrase = phrases[random() % phrases.size()];
            const std::string text =
                body + std::string(phrase.substr(0, phrase.size() - random() % 2)) + body;
            const std::string lowered = text::lowercase(text);
            bool expected = false;
            for (const std::string_view p : phrases) {
                expected |= lowered.find(p) != std::string::npos;
            }
            ASSERT_EQ(NoiseRules::containsPhrase(lowered), expected) << text;
        }
    }
}

// Notices of the other languages, in every case, among letters that lower-casing changes and
// text that needs no lower-casing (emoji, Telugu, Devanagari).
const std::array<std::string, 40> kOtherLanguagePieces = {"DIESE NACHRICHT WURDE GELÖSCHT",
                                                          "Diese Nachricht wurde gelöscht",
                                                          "gelÖscht",
                                                          "Bild weggelassen",
                                                          "BILD",
                                                          " weggelassen",
                                                          "Sprachanruf",
                                                          "SPRACHANRUF",
                                                          "Verpasster ",
                                                          ", Keine Antwort",
                                                          ", ",
                                                          "Se eliminó este mensaje",
                                                          "SE ELIMINÓ ESTE MENSAJE",
                                                          "Llamada de voz",
                                                          "Videollamada",
                                                          "Voice call",
                                                          ", No answer",
                                                          "GÖRÜNTÜLÜ ARAMA",
                                                          "Görüntülü arama",
                                                          "Çıkartma dahil edilmedi",
                                                          "मिस्ड वॉइस कॉल",
                                                          "वीडियो कॉल",
                                                          "తిన్నావా",
                                                          "\U0001F60A",
                                                          "\U0001F44D\U0001F3FD",
                                                          "Ö",
                                                          "É",
                                                          "\u0130",
                                                          "\u212A",
                                                          "\u1E9E",
                                                          "Σ",
                                                          "IMG-0001.jpg",
                                                          " (Datei angehängt)",
                                                          " (DATEI ANGEHÄNGT)",
                                                          " (file attached)",
                                                          "(",
                                                          ")",
                                                          "\n",
                                                          " ",
                                                          "ok"};

std::string toUpper(std::string_view text) {
    std::string upper;
    icu::UnicodeString::fromUTF8(text).toUpper(icu::Locale::getRoot()).toUTF8String(upper);
    return upper;
}

TEST(NoiseRules, NoticesOfOtherLanguagesAgreeWithThePlainRule) {
    std::mt19937 random(49);
    for (int i = 0; i < 20000; ++i) {
        std::string body;
        for (int n = 1 + static_cast<int>(random() % 5); n > 0; --n) {
            body += kOtherLanguagePieces[random() % kOtherLanguagePieces.size()];
        }
        ASSERT_EQ(WhatsAppParser::isNoise(body), isNoiseByTheRule(body)) << "\"" << body << "\"";
    }
    // Every entry in capitals and in a sentence, where lower-casing must happen first.
    for (const std::string_view phrase : NoiseRules::phrases()) {
        const std::string body = "Hi " + toUpper(phrase) + " \U0001F60A";
        ASSERT_EQ(WhatsAppParser::isNoise(body), isNoiseByTheRule(body)) << body;
    }
    for (const std::string_view entry : NoticeTables::callLogs()) {
        for (const std::string& body : {toUpper(entry), toUpper(entry) + ", Ä",
                                        std::string(entry) + ", " + std::string(30, 'x'),
                                        std::string(entry) + ", " + std::string(31, 'x')}) {
            ASSERT_EQ(WhatsAppParser::isNoise(body), isNoiseByTheRule(body)) << body;
        }
    }
}

// Text is read without lower-casing unless it holds a character that lower-casing changes.
TEST(NoiseRules, KnowEveryCharacterThatLowerCasingChanges) {
    for (char32_t c = 0x80; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF)
            continue;
        std::string utf8;
        UChar32 cp = static_cast<UChar32>(c);
        char units[4];
        int32_t length = 0;
        U8_APPEND_UNSAFE(units, length, cp);
        utf8.assign(units, static_cast<std::size_t>(length));
        ASSERT_EQ(NoiseRules::lowercasingChanges("x" + utf8 + "y"), text::lowercase(utf8) != utf8)
            << std::hex << static_cast<unsigned>(c);
    }
    EXPECT_FALSE(NoiseRules::lowercasingChanges("ok \U0001F60A\U0001F44D\U0001F3FD తిన్నావా वीडियो"));
    EXPECT_FALSE(NoiseRules::lowercasingChanges("\xF0\x9F"));  // a cut-off emoji
}

// The shortcuts rely on knowing every character whose case folding or lower case holds an ASCII
// letter, for the Unicode data of the ICU in use.
TEST(NoiseRules, KnowEveryCharacterThatFoldsToAsciiLetters) {
    auto hasAsciiLetter = [](const UChar* units, int32_t length) {
        for (int32_t k = 0; k < length; ++k) {
            if ((units[k] | 0x20) >= 'a' && (units[k] | 0x20) <= 'z')
                return true;
        }
        return false;
    };
    for (UChar32 c = 0x80; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF)
            continue;
        UChar source[2];
        int32_t length = 0;
        U16_APPEND_UNSAFE(source, length, c);
        UChar mapped[16];
        UErrorCode status = U_ZERO_ERROR;
        int32_t n = u_strFoldCase(mapped, 16, source, length, U_FOLD_CASE_DEFAULT, &status);
        if (hasAsciiLetter(mapped, n)) {
            EXPECT_TRUE(NoiseRules::foldsToAsciiLetters(static_cast<char32_t>(c))) << c;
        }
        n = u_strToLower(mapped, 16, source, length, "", &status);
        if (hasAsciiLetter(mapped, n)) {
            EXPECT_TRUE(c == 0x0130 || c == 0x212A) << c;
        }
    }
}

}  // namespace
}  // namespace lumenary
