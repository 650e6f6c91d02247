#include <gtest/gtest.h>

#include <random>
#include <string>

#include "importer/TextDecoding.h"

namespace lumenary {
namespace {

using TextDecoding::Encoding;

std::string utf16(const std::u16string& text, bool littleEndian) {
    std::string bytes;
    for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
        bytes += littleEndian ? std::string{low, high} : std::string{high, low};
    }
    return bytes;
}

TEST(TextDecoding, TakesUtf16OnlyOnEvidence) {
    const std::u16string text = u"12/03/21, 22:15 - Amma: Did you eat? \U0001F60A";
    EXPECT_EQ(TextDecoding::detect("\xEF\xBB\xBFhello").markLength, 3u);
    EXPECT_EQ(TextDecoding::detect("\xFF\xFEh\0" + std::string(1, '\0')).encoding,
              Encoding::utf16LittleEndian);
    EXPECT_EQ(TextDecoding::detect("\xFE\xFF\0h").encoding, Encoding::utf16BigEndian);
    EXPECT_EQ(TextDecoding::detect(utf16(text, true)).encoding, Encoding::utf16LittleEndian);
    EXPECT_EQ(TextDecoding::detect(utf16(text, false)).encoding, Encoding::utf16BigEndian);
    // An even number of Latin-1 bytes is not UTF-16 without zeros.
    EXPECT_EQ(TextDecoding::detect("Jos\xE9 est\xE1 bem").encoding, Encoding::utf8);
    EXPECT_EQ(TextDecoding::detect(std::string(70, 'a') + std::string(29, '\0')).encoding,
              Encoding::utf8);
}

TEST(TextDecoding, DecodesEveryEncodingToUtf8) {
    const std::string expected = "12/03/21, 22:15 - Amma: Did you eat? \U0001F60A";
    const std::u16string text = u"12/03/21, 22:15 - Amma: Did you eat? \U0001F60A";
    EXPECT_EQ(TextDecoding::decode("\xFF\xFE" + utf16(text, true)), expected);
    EXPECT_EQ(TextDecoding::decode("\xFE\xFF" + utf16(text, false)), expected);
    EXPECT_EQ(TextDecoding::decode(utf16(text, true)), expected);
    EXPECT_EQ(TextDecoding::decode(utf16(text, false)), expected);
    EXPECT_EQ(TextDecoding::decode("\xEF\xBB\xBF" + expected), expected);
    EXPECT_EQ(TextDecoding::decode(expected), expected);
    // Not UTF-8: every byte is a Latin-1 character.
    EXPECT_EQ(TextDecoding::decode("Jos\xE9: Ol\xE1 m\xE3"
                                   "e"),
              "Jos\u00E9: Ol\u00E1 m\u00E3"
              "e");
    EXPECT_EQ(TextDecoding::decode("\xEF\xBB\xBFJos\xE9"), "Jos\u00E9");
    // A broken UTF-16 text loses no more than the broken units.
    EXPECT_EQ(TextDecoding::decode("\xFF\xFE" +
                                   utf16(u"a\xD800"
                                         "b",
                                         true) +
                                   "c"),
              "a\uFFFD"
              "b\uFFFD");
    EXPECT_EQ(TextDecoding::decode(""), "");
}

TEST(TextDecoding, DecodesPieceByPieceAsAWhole) {
    std::mt19937 random(7);
    const std::string samples[] = {
        "Did you eat? \U0001F60A \u0C24\u0C3F\u0C28\u0C4D\u0C28\u0C3E\u0C35\u0C3E \u00E9\n",
        "ok \xE2\x80\x8E\xF0\x9F\x99\x8F\xE2\x80\xAF",
        "bad \xE2\x82 here",
        "\xED\xA0\x80",
        "\xF4\x90\x80\x80",
        "\xC0\xAF",
        "\xF0\x9F\x98"};
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (int n = 1 + static_cast<int>(random() % 6); n > 0; --n)
            text += samples[random() % 7];
        for (const Encoding encoding : {Encoding::utf8, Encoding::latin1,
                                        Encoding::utf16LittleEndian, Encoding::utf16BigEndian}) {
            TextDecoding::Decoder whole(encoding);
            std::string expected;
            const bool wellFormed = whole.decode(text, expected) && whole.finish(expected);

            TextDecoding::Decoder pieces(encoding);
            std::string actual;
            bool ok = true;
            for (std::size_t at = 0; at < text.size() && ok;) {
                const std::size_t length = 1 + random() % 5;
                ok = pieces.decode(std::string_view(text).substr(at, length), actual);
                at += length;
            }
            ok = ok && pieces.finish(actual);
            ASSERT_EQ(ok, wellFormed) << text;
            if (wellFormed) {
                ASSERT_EQ(actual, expected) << text;
            }
        }
    }
}

}  // namespace
}  // namespace lumenary
