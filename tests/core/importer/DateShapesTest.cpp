// The header dates real exports write beyond the ten formats: each shape must name the exact
// moment, the ten formats' readings must not change, and near misses must not read at all.

#include <gtest/gtest.h>

#include <string>

#include "IcuDateReading.h"
#include "importer/DateShapes.h"

namespace lumenary {
namespace {

using testing::civilOf;

std::optional<CivilTime> shape(std::string_view date, std::string_view time,
                               DateOrder order = DateOrder::dayFirst) {
    return civilOf(DateShapes::read(date, time, order));
}

constexpr DateOrder kDay = DateOrder::dayFirst, kMonth = DateOrder::monthFirst;

TEST(DateShapes, ReadsDottedDashedAndYearFirstDatesWithEitherClock) {
    struct Reading {
        const char* date;
        const char* time;
        DateOrder order;
        CivilTime civil;
    };
    // clang-format off
    const Reading readings[] = {
        {"12.03.21", "22:15:30", kDay, {2021, 3, 12, 22, 15, 30}},
        {"8.11.2017", "10:47", kDay, {2017, 11, 8, 10, 47, 0}},
        {"12-03-2021", "10:15:32 PM", kDay, {2021, 3, 12, 22, 15, 32}},
        {"12-03-21", "22:15", kDay, {2021, 3, 12, 22, 15, 0}},
        {"5/6/21", "7:08 p.m.", kDay, {2021, 6, 5, 19, 8, 0}},
        // Dots in the time.
        {"12.03.21", "21.25.15", kDay, {2021, 3, 12, 21, 25, 15}},
        {"8.11.2017", "10.47", kDay, {2017, 11, 8, 10, 47, 0}},
        {"8.11.2017", "9.5 PM", kDay, {2017, 11, 8, 21, 5, 0}},
        // Month first swaps the first two numbers; year first ignores the order.
        {"03.12.21", "22:15:30", kMonth, {2021, 3, 12, 22, 15, 30}},
        {"3-25-2021", "9:05:07 pm", kMonth, {2021, 3, 25, 21, 5, 7}},
        {"2016-08-06", "21:25", kDay, {2016, 8, 6, 21, 25, 0}},
        {"2016-08-06", "21:25", kMonth, {2016, 8, 6, 21, 25, 0}},
        {"2016/08/06", "9:25:18 PM", kMonth, {2016, 8, 6, 21, 25, 18}},
        {"2016.8.6", "21.25.15", kDay, {2016, 8, 6, 21, 25, 15}},
        // Other scripts' digits, white space around the fields, and the right-to-left marks
        // Arabic phones put beside a date's separators.
        {"\u0661\u0662.\u0660\u0663.\u0662\u0661", "\u0662\u0662:\u0661\u0665", kDay,
         {2021, 3, 12, 22, 15, 0}},
        {" \u0968\u096E-\u0969-\u0968\u0966\u0968\u096B ", "\u00A09:29 PM\u202F", kDay,
         {2025, 3, 28, 21, 29, 0}},
        {"\u0662\u0668\u200F/\u0663\u200F/\u0662\u0660\u0662\u0665", "\u0669:\u0662\u0669 \u0645",
         kDay, {2025, 3, 28, 21, 29, 0}},
    };
    // clang-format on
    for (const Reading& r : readings)
        EXPECT_EQ(shape(r.date, r.time, r.order), r.civil) << r.date << ", " << r.time;
    EXPECT_FALSE(shape("3-25-2021", "9:05:07 pm", kDay));
    EXPECT_FALSE(shape("2016-13-06", "21:25", kMonth));

    // The ten formats come first, but where "dd-MM-yyyy" would read "12-03-21, 22:15" as the
    // year 21, the two digits are read as a person reads them.
    EXPECT_EQ(civilOf(DateShapes::readAny("12-03-21", "22:15", kDay)),
              (CivilTime{2021, 3, 12, 22, 15, 0}));
    EXPECT_EQ(civilOf(DateShapes::readAny("12-03-21", "22:15:30", kDay)),
              (CivilTime{2021, 3, 12, 22, 15, 30}));

    for (const char* yearFirst : {"2016-08-06", " 201.8.6", "\u0662\u0660\u0661\u0666/8/6"})
        EXPECT_TRUE(DateShapes::isYearFirst(yearFirst)) << yearFirst;
    for (const char* other : {"12-08-2016", "20160-08-06", "2016:08:06", "2016"})
        EXPECT_FALSE(DateShapes::isYearFirst(other)) << other;
}

TEST(DateShapes, ReadsEveryDayPeriodSpellingWithEveryKindOfSpace) {
    const std::string spaces[] = {"", " ", "\u00A0", "\u202F"};
    for (const std::string half : {"a", "p"}) {
        const int afternoon = half == "p" ? 12 : 0;
        const std::string upper = half == "p" ? "P" : "A";
        for (const std::string& before : spaces) {
            for (const std::string& spelling : {half, upper, half + "m", upper + "M", upper + "m",
                                                half + ".m.", upper + ".M.", half + ".m"}) {
                EXPECT_EQ(shape("28.3.2025", "9:29" + before + spelling),
                          (CivilTime{2025, 3, 28, 9 + afternoon, 29, 0}))
                    << before << spelling;
            }
            // 12 starts its half of the day; 0 reads as 12 does.
            for (const std::string& inside : spaces) {
                const std::string period = before + half + "." + inside + "m.";
                EXPECT_EQ(shape("28-3-2025", "12:05:09" + period),
                          (CivilTime{2025, 3, 28, afternoon, 5, 9}))
                    << period;
                EXPECT_EQ(shape("28-3-25", "0:05" + period),
                          (CivilTime{2025, 3, 28, afternoon, 5, 0}));
            }
        }
    }
    EXPECT_EQ(shape("28/3/2025", "9:29 \u03BC.\u03BC."), (CivilTime{2025, 3, 28, 21, 29, 0}));
    EXPECT_EQ(shape("28/3/2025", "9:29 \u03C0.\u03BC."), (CivilTime{2025, 3, 28, 9, 29, 0}));
    EXPECT_EQ(shape("28/3/2025", "9:29 \u0635"), (CivilTime{2025, 3, 28, 9, 29, 0}));
}

TEST(DateShapes, ImpossibleValuesAndUnreadTextGiveNoDate) {
    // Each is a date field and a time field joined by ", ".
    // clang-format off
    const std::string_view misses[] = {
        "12.03.21, 13:15 PM", "12.03.21, 22:60", "12.03.21, 24:00", "12.03.21, 22:15:60",
        "31.04.21, 10:00", "29.02.2021, 10:00", "31-04-2021, 10:00 PM", "0.03.21, 10:00",
        "12.0.21, 10:00", "12.03.21, 22:15 x", "12.03.21, 22:15 pmx", "12.03.21, 22:15 am.",
        "12.03.21, 9:15 a.", "12.03.21, 9:15 p m", "12.03.21, 22:15:30 h", "12.03.21, 10:47.45",
        "12.03.21, 10:47:", "12.03.21, 10", "12.03.21, 123:15", "12.03.21, 10:150",
        "12.03-21, 22:15", "12..21, 22:15", "12.03.21., 22:15", "12.03.2, 22:15",
        "12.03.20211, 22:15", "12.03.21x, 22:15", "12,03,21, 22:15", ", 22:15", "12.03.21, ",
        ", ", " ,  ", "12.03.21, PM", "2016-08-06-, 21:25"};
    // clang-format on
    for (const std::string_view miss : misses) {
        const size_t comma = miss.find(", ");
        for (const DateOrder order : {kDay, kMonth}) {
            EXPECT_FALSE(DateShapes::read(miss.substr(0, comma), miss.substr(comma + 2), order))
                << miss;
        }
    }
    EXPECT_TRUE(shape("29.02.2020", "10:00"));

    // Half past midnight on 1 September 1942 never happened in Kolkata: the clocks went from
    // midnight straight to one o'clock.
    ASSERT_FALSE(LocalTime::fromCivil(CivilTime{1942, 9, 1, 0, 30, 0}));
    EXPECT_FALSE(shape("1.9.1942", "0:30"));
    EXPECT_FALSE(shape("1942-09-01", "12:30 a.m."));
    EXPECT_EQ(shape("1.9.1942", "1:30"), (CivilTime{1942, 9, 1, 1, 30, 0}));
}

TEST(DateShapes, TwoDigitYearsLandWhereTheTenFormatsPutThem) {
    // The window's first year is the hardest: early in it, it belongs to the next century.
    const int start = LocalTime::twoDigitYearWindowStart();
    const CivilTime today = LocalTime::civil(now());
    for (const int year : {start - 1, start, start + 1}) {
        const std::string yy = (year % 100 < 10 ? "0" : "") + std::to_string(year % 100);
        for (const auto& [month, day] :
             {std::pair{1, 1}, std::pair{today.month, today.day}, std::pair{12, 31}}) {
            const std::string dm = std::to_string(day) + "/" + std::to_string(month) + "/";
            const auto expected = DateReader::read(dm + yy, "23:59", kDay);
            ASSERT_TRUE(expected) << dm << yy;
            const std::string dotted = std::to_string(day) + "." + std::to_string(month) + ".";
            EXPECT_EQ(DateShapes::read(dotted + yy, "23.59", kDay), expected) << dotted << yy;
            const std::string dashed = std::to_string(month) + "-" + std::to_string(day) + "-";
            EXPECT_EQ(DateShapes::read(dashed + yy, "11:59 pm", kMonth), expected) << dashed << yy;
        }
    }
}

TEST(DateShapes, TheTenFormatsReadAsBeforeAndTheShapesNeverContradictThem) {
    constexpr Timestamp kYear100 = -59011459200;  // 1 January 100, UTC
    testing::DateFieldGenerator generator(2021);
    int read = 0;
    for (int i = 0; i < 40000; ++i) {
        const auto [date, time] = generator.next();
        for (const DateOrder order : {kDay, kMonth}) {
            const auto tenFormats = DateReader::read(date, time, order);
            if (tenFormats && *tenFormats >= kYear100) {
                ASSERT_EQ(DateShapes::readAny(date, time, order), tenFormats)
                    << "\"" << date << ", " << time << "\"";
            }
            // Where both read a date, they agree on its moment, except that "dd-MM-yyyy" takes a
            // two-digit year as written (year 21) where the shapes put it in the window.
            const bool dashedShortYear =
                date.find('-') != std::string::npos && tenFormats && *tenFormats < kYear100;
            if (const auto shapes = DateShapes::read(date, time, order);
                shapes && tenFormats && !dashedShortYear) {
                ASSERT_EQ(shapes, tenFormats) << "\"" << date << ", " << time << "\"";
                ++read;
            }
        }
    }
    EXPECT_GT(read, 10000);  // most generated fields must read both ways, or little is compared
}

}  // namespace
}  // namespace lumenary
