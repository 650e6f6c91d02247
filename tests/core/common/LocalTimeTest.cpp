// Reading wall-clock times in a zone with daylight saving: strictness, the repeated hour, and the
// round trip through the stored ISO 8601 form.

#include <gtest/gtest.h>

#include <cstdlib>

#include "common/LocalTime.h"

namespace lumenary {
namespace {

// The zone is read once, on first use, so it is chosen before any test runs.
const bool kZoneChosen = [] {
    setenv("TZ", "America/New_York", 1);
    setenv("LC_ALL", "en_US.UTF-8", 1);
    return true;
}();

TEST(LocalTime, ReadsWallClockTimesStrictly) {
    ASSERT_TRUE(kZoneChosen);
    // 12 March 2021 22:15:32 EST is 13 March 03:15:32 UTC.
    EXPECT_EQ(LocalTime::fromCivil({2021, 3, 12, 22, 15, 32}), 1615605332.0);
    EXPECT_EQ(LocalTime::fromCivil({2021, 2, 29, 10, 0, 0}), std::nullopt);
    EXPECT_EQ(LocalTime::fromCivil({2020, 2, 29, 10, 0, 0}).has_value(), true);
    EXPECT_EQ(LocalTime::fromCivil({2021, 4, 31, 10, 0, 0}), std::nullopt);
    EXPECT_EQ(LocalTime::fromCivil({2021, 3, 12, 24, 0, 0}), std::nullopt);
    EXPECT_EQ(LocalTime::fromCivil({2021, 3, 12, 23, 60, 0}), std::nullopt);
    EXPECT_EQ(LocalTime::fromCivil({2021, 13, 1, 0, 0, 0}), std::nullopt);
}

TEST(LocalTime, SkippedHourDoesNotExistAndRepeatedHourIsTheLater) {
    // Clocks jumped from 02:00 to 03:00 on 14 March 2021 and fell back at 02:00 on 7 November.
    EXPECT_EQ(LocalTime::fromCivil({2021, 3, 14, 2, 30, 0}), std::nullopt);
    EXPECT_EQ(LocalTime::fromCivil({2021, 3, 14, 3, 0, 0}), 1615705200.0);
    const auto repeated = LocalTime::fromCivil({2021, 11, 7, 1, 30, 0});
    ASSERT_TRUE(repeated);
    EXPECT_EQ(*repeated, 1636266600.0);  // 06:30 UTC, in standard time
    EXPECT_EQ(LocalTime::civil(*repeated), (CivilTime{2021, 11, 7, 1, 30, 0}));
    EXPECT_EQ(LocalTime::civil(*repeated - 3600), (CivilTime{2021, 11, 7, 1, 30, 0}));
}

TEST(LocalTime, CivilAndFromCivilAgreeAcrossYears) {
    for (Timestamp t = 946684800; t < 1767225600; t += 86400 * 7 + 3671) {
        const CivilTime c = LocalTime::civil(t);
        EXPECT_EQ(LocalTime::fromCivil(c), t) << LocalTime::isoUtc(t);
    }
}

TEST(LocalTime, IsoTextKeepsWholeSecondsInUtc) {
    EXPECT_EQ(LocalTime::isoUtc(1615605332.75), "2021-03-13T03:15:32Z");
    EXPECT_EQ(LocalTime::isoUtc(-1), "1969-12-31T23:59:59Z");
    EXPECT_EQ(LocalTime::parseIsoUtc("2021-03-13T03:15:32Z"), 1615605332.0);
    EXPECT_EQ(LocalTime::parseIsoUtc("2021-03-13T08:45:32+05:30"), 1615605332.0);
    EXPECT_EQ(LocalTime::parseIsoUtc("2021-03-13T03:15:32.5Z"), 1615605332.5);
    for (const char* bad : {"", "2021-03-13", "2021-02-30T00:00:00Z", "2021-03-13T03:15:32",
                            "2021-03-13T03:15:32Zjunk", "yesterday"}) {
        EXPECT_EQ(LocalTime::parseIsoUtc(bad), std::nullopt) << bad;
    }
}

TEST(LocalTime, FormatsInTheUsersLocale) {
    const Timestamp t = 1615605332;  // 12 March 2021, 10:15 PM in New York
    EXPECT_EQ(LocalTime::format(t, LocalTime::DateStyle::monthAndYear), "March 2021");
    EXPECT_EQ(LocalTime::format(t, LocalTime::DateStyle::abbreviatedWithShortTime),
              "Mar 12, 2021 at 10:15\u202fPM");
    EXPECT_EQ(LocalTime::format(t, LocalTime::DateStyle::longWithShortTime),
              "March 12, 2021 at 10:15\u202fPM");
    EXPECT_EQ(LocalTime::format(t, LocalTime::DateStyle::longDate), "March 12, 2021");
    EXPECT_EQ(LocalTime::format(t, LocalTime::DateStyle::abbreviatedDate), "Mar 12, 2021");
}

}  // namespace
}  // namespace lumenary
