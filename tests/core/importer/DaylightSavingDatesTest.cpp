// Dates around daylight-saving changes, in a zone that has them. This file is its own test
// program, so the zone can be set before anything reads it.

#include <gtest/gtest.h>

#include <cstdlib>

#include "IcuDateReading.h"
#include "importer/WhatsAppParser.h"

namespace lumenary {
namespace {

const bool zoneSet = [] { return setenv("TZ", "America/New_York", 1) == 0; }();

TEST(DaylightSavingDates, ReadAsIcuReadsThemAroundTheChanges) {
    ASSERT_TRUE(zoneSet);
    const testing::IcuDateReading icu;
    // 2021 and 2022 changes in New York, written both ways round.
    testing::DateFieldGenerator generator(
        2021, {"14/03/21", "7/11/21", "13/03/2022", "06/11/22", "3/14/21", "11/7/21", "3.13.22"});
    for (int i = 0; i < 20000; ++i) {
        const auto [date, time] = generator.next();
        for (const DateOrder order : {DateOrder::dayFirst, DateOrder::monthFirst}) {
            ASSERT_EQ(DateReader::read(date, time, order),
                      icu.read(testing::withTwoDigitNumbers(date + ", " + time), order))
                << "\"" << date << ", " << time << "\"";
        }
    }
}

TEST(DaylightSavingDates, SkippedHoursDoNotReadAndRepeatedHoursTakeTheLaterMoment) {
    const Timestamp before = now();
    const auto messages = WhatsAppParser::parse(
        "14/03/2021, 02:30 - Amma: the clock jumped\n"
        "07/11/21, 01:30 - Amma: the clock went back\n");
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_GE(messages[0].date, before);
    EXPECT_EQ(LocalTime::isoUtc(messages[1].date), "2021-11-07T06:30:00Z");
}

}  // namespace
}  // namespace lumenary
