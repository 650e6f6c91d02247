// The real program's self-test on every export dialect in tests/data: how many messages it
// reads, and that the months the report names are those the chat was written in, not the month
// the file was read.

#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"

namespace lumenary {
namespace {

struct Dialect {
    const char* fixture;
    int messages;
    const char* firstMonth;
    const char* lastMonth;
};

constexpr Dialect kDialects[] = {
    {"android-es-pm-no-comma.txt", 8, "March 2025", "January 2026"},
    {"android-de-dotted-seconds.txt", 7, "March 2021", "April 2022"},
    {"android-en-dashed-12h-seconds.txt", 8, "March 2021", "January 2022"},
    {"ios-en-year-first.txt", 6, "August 2016", "January 2017"},
    {"ios-nl-no-comma.txt", 6, "November 2017", "January 2018"},
    {"android-old-colon-layout.txt", 6, "November 2017", "January 2018"},
    {"android-fi-klo-dotted-time.txt", 6, "March 2020", "January 2021"},
    {"ios-fi-klo-dotted-seconds.txt", 7, "March 2020", "January 2021"},
    {"android-en-mixed-clock.txt", 8, "March 2021", "June 2021"},
    {"android-pt-lowercase-pm.txt", 7, "March 2021", "January 2022"},
    {"ios-fr-no-comma.txt", 5, "March 2021", "January 2022"},
    {"ios-it-notices.txt", 5, "March 2021", "December 2021"},
    {"android-hi-notices.txt", 5, "March 2021", "November 2021"},
    {"android-id-dotted-time.txt", 5, "March 2021", "January 2022"},
    {"ios-tr-dotted-no-comma.txt", 6, "March 2021", "October 2021"},
    {"android-month-first-by-notice.txt", 7, "January 2021", "May 2021"},
    {"merged-ios-us-android-in.txt", 8, "March 2021", "April 2022"},
    {"ios-bidi-controls.txt", 5, "March 2021", "January 2022"},
};

TEST(SelfTestDialects, ReadsEveryExportDialectWithItsDates) {
    for (const Dialect& dialect : kDialects) {
        const auto run = testing::runProgram(
            {"--selftest", testing::testData(dialect.fixture).string(), "--as", "Amma"});
        ASSERT_EQ(run.exitCode, 0) << dialect.fixture << "\n" << run.out << run.err;
        EXPECT_EQ(run.err, "") << dialect.fixture;
        EXPECT_NE(run.out.find("Messages parsed   " + std::to_string(dialect.messages) + "\n"),
                  std::string::npos)
            << dialect.fixture << "\n"
            << run.out;
        EXPECT_NE(run.out.find(std::string("These messages run from ") + dialect.firstMonth +
                               " to " + dialect.lastMonth + "."),
                  std::string::npos)
            << dialect.fixture << "\n"
            << run.out;
    }
}

}  // namespace
}  // namespace lumenary
