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
        {"08/11/2017, 10:47:45: Amma: ok", {"08/11/2017", "10:47:45", "Amma", "ok"}},
        {"[21.3.2020 21.25.15] Aino: moi", {"21.3.2020", "21.25.15", "Aino", "moi"}},
        {"2019-01-01 12:00 - Ravi: hey  ", {"2019-01-01", "12:00", "Ravi", "hey  "}},
        {"12/03/2021,9:29 - Ravi:   hi", {"12/03/2021", "9:29", "Ravi", "hi"}},
        {"١٢/٠٣/٢٠٢١ ٩:٣٠ م - سارة: مرحبا", {"١٢/٠٣/٢٠٢١", "٩:٣٠ م", "سارة", "مرحبا"}},
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
    // Code points are counted, an ill-formed byte as one U+FFFD.
    const std::string start = "08/11/2017 10:47:45: ";
    std::string sixty;
    for (int i = 0; i < 30; ++i)
        sixty += "é\xFF";
    EXPECT_EQ(header(start + sixty + ": x")->at(2), sixty);
    EXPECT_FALSE(header(start + sixty + "é: x"));
    // A colon right after the white space takes its last character as the sender, as long as
    // the dash keeps one.
    EXPECT_EQ(header("[08/11/2017 10:47:45]  : x")->at(2), " ");
    EXPECT_EQ(header("08/11/2017 10:47 -  : x")->at(2), " ");
    EXPECT_EQ(header("08/11/2017 10:47 - : x"), std::nullopt);
    EXPECT_EQ(header("[08/11/2017 10:47:45]: x"), std::nullopt);
    EXPECT_EQ(header("08/11/2017 10:47 - Ravi has no colon"), std::nullopt);
}

TEST(OtherLinePatterns, ConnectorWordsNeedWhiteSpaceAroundThem) {
    const Groups expected{"23.3.2020", "12.14", "Aino", "moi"};
    EXPECT_EQ(header("23.3.2020 klo 12.14 - Aino: moi"), expected);
    EXPECT_EQ(header("23.3.2020, klo 12.14 - Aino: moi"), expected);
    EXPECT_EQ(header("23.3.2020,klo 12.14 - Aino: moi"), expected);
    EXPECT_EQ(header("[23.3.2020 klo 12.14.05] Aino: moi")->at(1), "12.14.05");
    EXPECT_EQ(header("23.3.2020klo 12.14 - Aino: moi"), std::nullopt);
    EXPECT_EQ(header("23.3.2020 klo12.14 - Aino: moi"), std::nullopt);
    EXPECT_EQ(header("23.3.2020 kello 12.14 - Aino: moi"), std::nullopt);
}

TEST(OtherLinePatterns, NoticesOfEachShapeGiveDateAndTime) {
    for (const char* line :
         {"28/3/2025 9:29 p. m. - Ravi salió", "[28/3/2025 9:29 p. m.] Ravi salió"}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(notice(line), (Groups{"28/3/2025", "9:29 p. m."}));
        EXPECT_EQ(header(line), std::nullopt);
    }
    EXPECT_EQ(notice("23.3.2020 klo 12.14 - Aino lähti"), (Groups{"23.3.2020", "12.14"}));
    EXPECT_EQ(notice("08/11/2017 10:47:45: Ravi left"), (Groups{"08/11/2017", "10:47:45"}));
}

TEST(OtherLinePatterns, ContinuationTextAndNearMissesDoNotMatch) {
    // Continuation text; times without minutes, with one-digit minutes or seconds or three-digit
    // hours; a dash without spaces; no space after the old colon; a bracket not closing right
    // after the time, or an unbracketed ending in a bracketed line; a day period too long; the
    // old colon ending after a time without seconds, as a person types it.
    for (const char* line : {"5 minutes late",
                             "2 eggs",
                             "12/03/2021 is her birthday: remember",
                             "12/03/2021 9 - Ravi: x",
                             "12/03/2021 9:5 - Ravi: x",
                             "12/03/2021 9:29:5 - Ravi: x",
                             "12/03/2021 123:45 - Ravi: x",
                             "12/03/2021 9:29-Ravi: x",
                             "12/03/2021 9:29:45:Ravi: x",
                             "[08/11/2017 10:47:45 ] R: x",
                             "[08/11/2017 10:47:45: Ravi: x",
                             "[08/11/2017 10:47:45 - Ravi: x",
                             "12345/03/2021 9:30 - Ravi: x",
                             "12/03/2021 9:30 at the old bus stand - Ravi: see you",
                             "12/03/2021 9:30: meet at the station",
                             "08/11/2017, 10:47: Agenda: x",
                             "",
                             "[",
                             "12/",
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
            const auto buffer = std::make_unique_for_overwrite<char[]>(length);
            std::memcpy(buffer.get(), full.data(), length);
            const std::string_view line(buffer.get(), length);
            LinePatterns::matchOtherHeader(line);
            LinePatterns::matchOtherNotice(line);
        }
    }
}

}  // namespace
}  // namespace lumenary
