// The header shapes of other languages and older versions: exact groups, the sender rules, and
// the lines that must stay continuation text.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "importer/LinePatterns.h"

namespace lumenary {
namespace {

using Groups = std::vector<std::string>;

std::optional<Groups> header(std::string_view line) {
    const auto g = LinePatterns::matchOtherHeader(line);
    if (!g)
        return std::nullopt;
    return Groups{std::string(g->date), std::string(g->time), std::string(g->sender),
                  std::string(g->body)};
}

std::optional<Groups> notice(std::string_view line) {
    const auto g = LinePatterns::matchOtherNotice(line);
    if (!g)
        return std::nullopt;
    return Groups{std::string(g->date), std::string(g->time)};
}

TEST(OtherLinePatterns, ReadEachShapeWithItsExactGroups) {
    const std::vector<std::pair<std::string, Groups>> cases = {
        {"28/3/2025 9:29 p. m. - Lucía: ¿vienes?",
         {"28/3/2025", "9:29 p. m.", "Lucía", "¿vienes?"}},
        {"28/3/2025 9:29\u202Fp.\u00A0m. - Lucía: sí",
         {"28/3/2025", "9:29\u202Fp.\u00A0m.", "Lucía", "sí"}},
        {"[08/11/2017 10:47:45] Amma: Did you eat?",
         {"08/11/2017", "10:47:45", "Amma", "Did you eat?"}},
        {"[12/03/2021 9:15:02\u202FPM] Ravi: ok", {"12/03/2021", "9:15:02\u202FPM", "Ravi", "ok"}},
        {"08/11/2017 10:47:45: Amma: Did you eat?",
         {"08/11/2017", "10:47:45", "Amma", "Did you eat?"}},
        {"08/11/2017, 10:47: Amma: ok", {"08/11/2017", "10:47", "Amma", "ok"}},
        {"08/11/2017 10:47 PM: Amma: ok", {"08/11/2017", "10:47 PM", "Amma", "ok"}},
        {"[21.3.2020 21.25.15] Aino: moi", {"21.3.2020", "21.25.15", "Aino", "moi"}},
        {"2019-01-01 12:00 - Ravi: hey  ", {"2019-01-01", "12:00", "Ravi", "hey  "}},
        {"12/03/2021,9:29 - Ravi:   hi", {"12/03/2021", "9:29", "Ravi", "hi"}},
        {"١٢/٠٣/٢٠٢١ ٩:٣٠ م - سارة: مرحبا", {"١٢/٠٣/٢٠٢١", "٩:٣٠ م", "سارة", "مرحبا"}},
        // The shapes the other matchers read give the same groups here.
        {"12/03/21, 22:15 - Amma: Did you eat?", {"12/03/21", "22:15", "Amma", "Did you eat?"}},
        {"[1/3/21, 9:05 AM] Ravi Kumar: ok", {"1/3/21", "9:05 AM", "Ravi Kumar", "ok"}},
    };
    for (const auto& [line, groups] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(header(line), groups);
        EXPECT_EQ(notice(line), Groups(groups.begin(), groups.begin() + 2));
    }
}

TEST(OtherLinePatterns, SenderEndsAtTheFirstColonAndHoldsAtMostSixtyCodePoints) {
    EXPECT_EQ(header("08/11/2017 10:47 - Ravi: see: this - that"),
              (Groups{"08/11/2017", "10:47", "Ravi", "see: this - that"}));
    EXPECT_EQ(header("[08/11/2017 10:47:45] Ravi Kumar 😊 : ok"),
              (Groups{"08/11/2017", "10:47:45", "Ravi Kumar 😊 ", "ok"}));
    std::string sixty;
    for (int i = 0; i < 60; ++i)
        sixty += "é";
    EXPECT_EQ(LinePatterns::matchOtherHeader("08/11/2017 10:47:45: " + sixty + ": x")->sender,
              sixty);
    EXPECT_EQ(header("08/11/2017 10:47:45: " + sixty + "é: x"), std::nullopt);
    // Each ill-formed byte counts as one U+FFFD.
    EXPECT_TRUE(header("08/11/2017 10:47 - " + std::string(60, '\xFF') + ": x"));
    EXPECT_FALSE(header("08/11/2017 10:47 - " + std::string(61, '\xFF') + ": x"));
    // A colon right after the white space takes its last character as the sender, as long as
    // the dash keeps one.
    EXPECT_EQ(LinePatterns::matchOtherHeader("[08/11/2017 10:47:45]  : x")->sender, " ");
    EXPECT_EQ(LinePatterns::matchOtherHeader("08/11/2017 10:47 -  : x")->sender, " ");
    EXPECT_EQ(header("08/11/2017 10:47 - : x"), std::nullopt);
    EXPECT_EQ(header("[08/11/2017 10:47:45]: x"), std::nullopt);
    EXPECT_EQ(header("08/11/2017 10:47 - Ravi has no colon"), std::nullopt);
}

TEST(OtherLinePatterns, ConnectorWordsNeedWhiteSpaceAroundThem) {
    const Groups expected{"23.3.2020", "12.14", "Aino", "moi"};
    EXPECT_EQ(header("23.3.2020 klo 12.14 - Aino: moi"), expected);
    EXPECT_EQ(header("23.3.2020, klo 12.14 - Aino: moi"), expected);
    EXPECT_EQ(header("23.3.2020,klo 12.14 - Aino: moi"), expected);
    EXPECT_EQ(LinePatterns::matchOtherHeader("[23.3.2020 klo 12.14.05] Aino: moi")->time,
              "12.14.05");
    EXPECT_EQ(header("23.3.2020klo 12.14 - Aino: moi"), std::nullopt);
    EXPECT_EQ(header("23.3.2020 klo12.14 - Aino: moi"), std::nullopt);
    EXPECT_EQ(header("23.3.2020 kello 12.14 - Aino: moi"), std::nullopt);
}

TEST(OtherLinePatterns, NoticesOfEachShapeGiveDateAndTime) {
    for (const char* line :
         {"28/3/2025 9:29 p. m. - Ravi salió", "[28/3/2025 9:29 p. m.] Ravi salió",
          "28/3/2025 9:29 p. m.: Ravi salió"}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(notice(line), (Groups{"28/3/2025", "9:29 p. m."}));
        EXPECT_EQ(header(line), std::nullopt);
    }
    EXPECT_EQ(notice("23.3.2020 klo 12.14 - Aino lähti"), (Groups{"23.3.2020", "12.14"}));
}

TEST(OtherLinePatterns, ContinuationTextAndNearMissesDoNotMatch) {
    for (const char* line :
         {"5 minutes late",
          "2 eggs",
          "12/03/2021 is her birthday: remember",
          "12/03/2021 9 - Ravi: x",     // no minutes
          "12/03/2021 9 PM - Ravi: x",  // no minutes
          "12/03/2021 9:29-Ravi: x",    // a dash without spaces
          "12/03/2021 9:29 -Ravi: x",
          "12/03/2021 9:5 - Ravi: x",        // one-digit minutes
          "12/03/2021 123:45 - Ravi: x",     // three-digit hours
          "12/03/2021 9:29:5 - Ravi: x",     // one-digit seconds
          "12/03/2021 9:29:45:Ravi: x",      // no space after the old colon
          "[08/11/2017 10:47:45 ] Ravi: x",  // the bracket must close right after the time
          "[08/11/2017 10:47:45: Ravi: x",   // the old colon is not for bracketed lines
          "[08/11/2017 10:47:45 - Ravi: x",
          "12345/03/2021 9:30 - Ravi: x",  // five-digit first number
          "12/03/2021 9:30 at the old bus stand - Ravi: see you",
          "[",
          "",
          "1",
          "12/",
          "12/03/2021",
          "12/03/2021 ",
          "12/03/2021 9:"}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(header(line), std::nullopt);
        EXPECT_EQ(notice(line), std::nullopt);
    }
}

TEST(OtherLinePatterns, NeverReadPastATruncatedLine) {
    // Every prefix, also those that cut a UTF-8 sequence, in a buffer of exactly its size.
    for (const std::string full :
         {"28/3/2025 9:29\u202Fp.\u00A0m. - Lucía: sí", "[23.3.2020 klo 12.14.05] Aino: moi",
          "08/11/2017 10:47:45: A: x", "١٢/٠٣/٢٠٢١ ٩:٣٠ م - سارة: مرحبا",
          "12/03/2021 9:30 \xE2\x80"}) {
        for (size_t length = 0; length <= full.size(); ++length) {
            const auto buffer = std::make_unique<char[]>(length + 1);
            std::memcpy(buffer.get() + 1, full.data(), length);
            const std::string_view line(buffer.get() + 1, length);
            LinePatterns::matchOtherHeader(line);
            LinePatterns::matchOtherNotice(line);
        }
    }
}

}  // namespace
}  // namespace lumenary
