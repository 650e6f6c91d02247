// The date reader must read exactly what ICU's strict SimpleDateFormat reads with the ten export
// formats, except one-digit fields, which it reads as the reference platform does.

#include <gtest/gtest.h>

#include "IcuDateReading.h"
#include "importer/DateReader.h"

namespace lumenary {
namespace {

using testing::civilOf;

TEST(DateReader, ReadsWhatIcuReadsWithTheTenFormats) {
    const testing::IcuDateReading icu;
    testing::DateFieldGenerator generator(1582);
    int read = 0;
    for (int i = 0; i < 40000; ++i) {
        const auto [date, time] = generator.next();
        for (const DateOrder order : {DateOrder::dayFirst, DateOrder::monthFirst}) {
            const auto expected = icu.read(testing::withTwoDigitNumbers(date + ", " + time), order);
            ASSERT_EQ(DateReader::read(date, time, order), expected)
                << "\"" << date << ", " << time << "\" " << static_cast<int>(order);
            read += expected.has_value();
        }
    }
    EXPECT_GT(read, 10000);  // most generated fields must read, or little is compared
}

TEST(DateReader, ReadsOneDigitFieldsAndTheExtraSpacesOfNewerPhones) {
    EXPECT_EQ(civilOf(DateReader::read("1/3/21", "9:05", DateOrder::dayFirst)),
              (CivilTime{2021, 3, 1, 9, 5, 0}));
    EXPECT_EQ(civilOf(DateReader::read("3/25/21", "9:05:07\u202FPM", DateOrder::monthFirst)),
              (CivilTime{2021, 3, 25, 21, 5, 7}));
    EXPECT_EQ(civilOf(DateReader::read("12/03/2021", "10:15:32\u00A0AM", DateOrder::dayFirst)),
              (CivilTime{2021, 3, 12, 10, 15, 32}));
    EXPECT_EQ(civilOf(DateReader::read("5.6.21", "7:8", DateOrder::dayFirst)),
              (CivilTime{2021, 6, 5, 7, 8, 0}));
    EXPECT_FALSE(DateReader::read("3/25/21", "9:05 PM", DateOrder::dayFirst));
}

}  // namespace
}  // namespace lumenary
