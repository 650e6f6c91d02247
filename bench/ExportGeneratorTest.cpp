#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <sstream>

#include "ExportGenerator.h"
#include "common/LocalTime.h"
#include "importer/WhatsAppParser.h"

namespace lumenary {
namespace {

using ExportGenerator::Layout;

constexpr std::size_t kEntries = 20000;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

TEST(ExportGeneratorTest, SameSeedGivesSameBytesAndAnotherSeedAnotherChat) {
    for (const Layout layout : {Layout::bracketed, Layout::dash}) {
        const std::string first = ExportGenerator::generate(2000, layout, 7);
        EXPECT_EQ(first, ExportGenerator::generate(2000, layout, 7));
        EXPECT_NE(first, ExportGenerator::generate(2000, layout, 8));
    }
    EXPECT_EQ(ExportGenerator::sampleQueries(50, 3), ExportGenerator::sampleQueries(50, 3));
}

// Every line must be a message header of the asked layout or a continuation line that no parser
// could take for a header, the dates must only move forward, and the size must stay near 78
// bytes an entry, or the benchmarks would time a different workload than they claim.
TEST(ExportGeneratorTest, WritesOneHeaderPerEntryInItsLayoutWithDatesMovingForward) {
    const std::regex bracketed(R"(^\[(\d\d)/(\d\d)/(\d{4}), (\d{1,2}):(\d\d):(\d\d) ([AP])M\] )"
                               R"((Amma|Ravi|Lakshmi): .+$)");
    const std::regex dash(R"(^(\d\d)/(\d\d)/(\d\d), (\d\d):(\d\d) - (Amma|Ravi|Lakshmi): .+$)");
    const std::regex anyHeader(R"(^\[?\d{1,4}[/.-]\d{1,2}[/.-]\d{2,4},)");
    for (const Layout layout : {Layout::bracketed, Layout::dash}) {
        const std::string text = ExportGenerator::generate(kEntries, layout, 42);
        const std::vector<std::string> all = lines(text);
        ASSERT_FALSE(all.empty());
        EXPECT_NE(all.front().find("end-to-end encrypted"), std::string::npos);

        std::size_t headers = 0;
        std::size_t continuations = 0;
        long long previous = 0;
        for (std::size_t i = 1; i < all.size(); ++i) {
            std::smatch m;
            const bool isBracketed = layout == Layout::bracketed;
            if (std::regex_match(all[i], m, isBracketed ? bracketed : dash)) {
                ++headers;
                const int year = std::stoi(m[3]) + (isBracketed ? 0 : 2000);
                int hour = std::stoi(m[4]);
                if (isBracketed)
                    hour = hour % 12 + (m[7] == "P" ? 12 : 0);
                // A sortable reading of the wall clock; minutes are all the dash layout keeps.
                const long long when =
                    ((((year * 100LL + std::stoi(m[2])) * 100 + std::stoi(m[1])) * 100 + hour) *
                         100 +
                     std::stoi(m[5]));
                EXPECT_GE(when, previous) << all[i];
                previous = when;
            } else {
                ++continuations;
                EXPECT_FALSE(std::regex_search(all[i], anyHeader)) << all[i];
                EXPECT_FALSE(all[i].empty());
            }
        }
        EXPECT_EQ(headers, kEntries);
        EXPECT_GT(continuations, 0u);
        EXPECT_GE(previous / 100000000, 2022) << "an export spans about seven years";

        const double perEntry = static_cast<double>(text.size()) / kEntries;
        EXPECT_GT(perEntry, 66.0);
        EXPECT_LT(perEntry, 86.0);
    }
}

// The real parser must read every header's date (an unread date would silently become "now")
// and drop only the few noise entries, with her as the most frequent of three senders.
TEST(ExportGeneratorTest, ParsesIntoDatedMessagesOfThreeSendersWithHerFirst) {
    for (const Layout layout : {Layout::bracketed, Layout::dash}) {
        const std::vector<ChatMessage> messages =
            WhatsAppParser::parse(ExportGenerator::generate(kEntries, layout, 42));
        EXPECT_GT(messages.size(), kEntries * 90 / 100);
        EXPECT_LT(messages.size(), kEntries * 99 / 100);

        std::map<std::string, std::size_t> perSender;
        std::size_t multiLine = 0;
        const Timestamp before2024 = *LocalTime::fromCivil({2024, 1, 1, 0, 0, 0});
        for (const auto& message : messages) {
            ++perSender[message.sender];
            if (message.text.find('\n') != std::string::npos)
                ++multiLine;
            ASSERT_LT(message.date, before2024) << message.text;
        }
        ASSERT_EQ(perSender.size(), 3u);
        EXPECT_GT(perSender["Amma"], perSender["Ravi"]);
        EXPECT_GT(perSender["Lakshmi"], 0u);
        EXPECT_GT(multiLine, 0u);
    }
}

}  // namespace
}  // namespace lumenary
