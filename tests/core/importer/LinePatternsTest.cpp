// The hand-written header matchers must give exactly the groups that ICU's regular-expression
// engine gives for the same patterns, on any line.

#include <gtest/gtest.h>
#include <unicode/regex.h>

#include <array>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "importer/LinePatterns.h"

namespace lumenary {
namespace {

using Groups = std::vector<std::string>;

// Ill-formed UTF-8 reaches ICU as U+FFFD; compare both sides in that form.
std::string throughUtf16(std::string_view s) {
    std::string out;
    icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())))
        .toUTF8String(out);
    return out;
}

class IcuPattern {
public:
    explicit IcuPattern(const char16_t* pattern) {
        UErrorCode status = U_ZERO_ERROR;
        pattern_.reset(icu::RegexPattern::compile(icu::UnicodeString(pattern), 0, status));
        EXPECT_TRUE(U_SUCCESS(status));
    }

    std::optional<Groups> find(const std::string& line) const {
        UErrorCode status = U_ZERO_ERROR;
        const icu::UnicodeString input = icu::UnicodeString::fromUTF8(line);
        std::unique_ptr<icu::RegexMatcher> matcher(pattern_->matcher(input, status));
        if (!matcher->find(0, status) || U_FAILURE(status))
            return std::nullopt;
        Groups groups;
        for (int32_t g = 1; g <= matcher->groupCount(); ++g) {
            std::string text;
            matcher->group(g, status).toUTF8String(text);
            groups.push_back(text);
        }
        return groups;
    }

private:
    std::unique_ptr<icu::RegexPattern> pattern_;
};

std::optional<Groups> groupsOf(const std::optional<LinePatterns::HeaderGroups>& g) {
    if (!g)
        return std::nullopt;
    return Groups{throughUtf16(g->date), throughUtf16(g->time), throughUtf16(g->sender),
                  throughUtf16(g->body)};
}

std::optional<Groups> groupsOf(const std::optional<LinePatterns::NoticeGroups>& g) {
    if (!g)
        return std::nullopt;
    return Groups{throughUtf16(g->date), throughUtf16(g->time)};
}

const std::vector<std::string> kPieces = {"[",
                                          "]",
                                          ",",
                                          ", ",
                                          ":",
                                          ": ",
                                          " - ",
                                          "-",
                                          " -",
                                          "- ",
                                          " ",
                                          "  ",
                                          "\t",
                                          "\u202F",
                                          "\u00A0",
                                          "\u3000",
                                          "\r",
                                          "\n",
                                          "\r\n",
                                          "\v",
                                          "\f",
                                          "\u0085",
                                          "\u2028",
                                          "\u2029",
                                          "\u200E",
                                          "12/03/2021",
                                          "12/03/21",
                                          "1/3/21",
                                          "12.03.21",
                                          "12-03-2021",
                                          "3/25/21",
                                          "2021/3/12",
                                          "\u0661\u0662/\u0660\u0663/\u0662\u0661",
                                          "12345",
                                          "1",
                                          "/",
                                          ".",
                                          "10:15:32 PM",
                                          "10:15:32\u202FPM",
                                          "22:15",
                                          "9:05",
                                          "Amma",
                                          "Ravi Kumar",
                                          "Ann:Bea",
                                          std::string(59, 'x'),
                                          std::string(60, 'y'),
                                          std::string(61, 'z'),
                                          "\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9",
                                          "Did you eat?",
                                          "http://x.y/z",
                                          "\U0001F60A",
                                          "\xE2\x80",
                                          "\xFF",
                                          "\xC3",
                                          "]]",
                                          ",,",
                                          "::"};

std::string randomLine(std::mt19937& random) {
    std::uniform_int_distribution<std::size_t> piece(0, kPieces.size() - 1);
    std::uniform_int_distribution<int> count(1, 14);
    std::string line;
    for (int n = count(random); n > 0; --n)
        line += kPieces[piece(random)];
    return line;
}

// Short strings over the characters the patterns care about, where backtracking is busiest.
std::string denseLine(std::mt19937& random) {
    static const std::array<std::string, 16> kCharacters = {
        "[",  "]",      ",",      ":", "-", " ", "\t", "\n",
        "\r", "\u2028", "\u00A0", "1", "2", "/", ".",  "x"};
    std::string line = random() % 2 == 0 ? "[" : "1";
    for (int n = 1 + static_cast<int>(random() % 24); n > 0; --n) {
        line += kCharacters[random() % kCharacters.size()];
    }
    return line;
}

// A real header with a few random edits, so that near-misses of every part get tried.
std::string mutatedLine(std::mt19937& random) {
    static const std::array<std::string, 6> kHeaders = {
        "[12/03/2021, 10:15:32 PM] Amma: Did you eat?",
        "12/03/21, 22:15 - Amma: Did you eat?",
        "[12/03/21, 9:15:02\u202FPM] Ravi left",
        "12/03/21, 22:15 - Ravi changed this group's icon",
        "[1/3/21, 9:05 AM] Ravi Kumar: ok\r",
        "12.03.21, 22:15 - Amma: see: this - that"};
    std::string line = kHeaders[random() % kHeaders.size()];
    for (int edits = 1 + static_cast<int>(random() % 3); edits > 0 && !line.empty(); --edits) {
        const std::size_t at = random() % (line.size() + 1);
        switch (random() % 3) {
            case 0:
                line.insert(at, kPieces[random() % kPieces.size()]);
                break;
            case 1:
                line.erase(std::min(at, line.size() - 1), 1 + random() % 4);
                break;
            default:
                line.replace(std::min(at, line.size() - 1), 1, kPieces[random() % kPieces.size()]);
        }
    }
    return line;
}

TEST(LinePatterns, GiveTheSameGroupsAsIcuOnGeneratedLines) {
    const IcuPattern bracketed(u"^\\[(.+?),\\s*(.+?)\\]\\s*([^:]{1,60}?):\\s*(.*)$");
    const IcuPattern dashed(
        u"^(\\d{1,4}[/.-]\\d{1,2}[/.-]\\d{2,4}),\\s*(.+?)\\s+-\\s+([^:]{1,60}?):\\s*(.*)$");
    const IcuPattern bracketedNotice(
        u"^\\[(\\d{1,4}[/.-]\\d{1,2}[/.-]\\d{2,4}),\\s*([^\\]]+)\\]\\s*");
    const IcuPattern dashedNotice(u"^(\\d{1,4}[/.-]\\d{1,2}[/.-]\\d{2,4}),\\s*(.+?)\\s+-\\s+");

    std::mt19937 random(20210312);
    int matched = 0;
    for (int i = 0; i < 60000; ++i) {
        std::string line = i % 3 == 0   ? randomLine(random)
                           : i % 3 == 1 ? mutatedLine(random)
                                        : denseLine(random);
        if (i % 6 == 0 && !line.empty() && line[0] != '[')
            line.insert(0, "[");
        SCOPED_TRACE(testing::Message() << "line: \"" << line << "\"");
        const auto expected = bracketed.find(line);
        ASSERT_EQ(groupsOf(LinePatterns::matchBracketed(line)), expected);
        ASSERT_EQ(groupsOf(LinePatterns::matchDashed(line)), dashed.find(line));
        ASSERT_EQ(groupsOf(LinePatterns::matchBracketedNotice(line)), bracketedNotice.find(line));
        ASSERT_EQ(groupsOf(LinePatterns::matchDashedNotice(line)), dashedNotice.find(line));
        matched += expected.has_value();
    }
    EXPECT_GT(matched, 1000);  // the generator must reach the matching side too
}

}  // namespace
}  // namespace lumenary
