#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
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
    for (const Layout layout : {Layout::bracketed, Layout::dash, Layout::spanish}) {
        const std::string first = ExportGenerator::generate(2000, layout, 7);
        EXPECT_EQ(first, ExportGenerator::generate(2000, layout, 7));
        EXPECT_NE(first, ExportGenerator::generate(2000, layout, 8));
    }
    EXPECT_EQ(ExportGenerator::sampleQueries(50, 3), ExportGenerator::sampleQueries(50, 3));
}

/// A wall-clock reading of a header line, as a sortable number (yyyyMMddHHmm), or -1 when the
/// line is not a header of `layout` from one of the generator's three senders.
long long headerTime(const std::string& line, Layout layout) {
    int day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0, consumed = 0;
    char half = 0;
    if (layout == Layout::bracketed) {
        if (std::sscanf(line.c_str(), "[%2d/%2d/%4d, %2d:%2d:%2d %cM] %n", &day, &month, &year,
                        &hour, &minute, &second, &half, &consumed) != 7 ||
            consumed == 0 || hour < 1 || hour > 12 || (half != 'A' && half != 'P')) {
            return -1;
        }
        hour = hour % 12 + (half == 'P' ? 12 : 0);
    } else if (layout == Layout::spanish) {
        // "28/3/2025 9:29" U+202F "p." U+00A0 "m. - "
        if (std::sscanf(line.c_str(), "%2d/%2d/%4d %2d:%2d%n", &day, &month, &year, &hour, &minute,
                        &consumed) != 5 ||
            consumed == 0 || hour < 1 || hour > 12) {
            return -1;
        }
        const std::string period = line.substr(static_cast<std::size_t>(consumed), 12);
        if (period != "\u202Fa.\u00A0m. - " && period != "\u202Fp.\u00A0m. - ")
            return -1;
        hour = hour % 12 + (period[3] == 'p' ? 12 : 0);
        consumed += static_cast<int>(period.size());
    } else {
        if (std::sscanf(line.c_str(), "%2d/%2d/%2d, %2d:%2d - %n", &day, &month, &year, &hour,
                        &minute, &consumed) != 5 ||
            consumed == 0) {
            return -1;
        }
        year += 2000;
    }
    const std::string rest = line.substr(static_cast<std::size_t>(consumed));
    bool knownSender = false;
    for (const char* sender : {"Amma: ", "Ravi: ", "Lakshmi: "}) {
        knownSender =
            knownSender || (rest.rfind(sender, 0) == 0 && rest.size() > std::strlen(sender));
    }
    if (!knownSender || month < 1 || month > 12 || day < 1 || day > 31 || minute > 59)
        return -1;
    return (((year * 100LL + month) * 100 + day) * 100 + hour) * 100 + minute;
}

/// Whether a parser could take `line` for the start of a message: an optional "[", then a date
/// of digits and two separators, then a comma or a space.
bool startsLikeHeader(const std::string& line) {
    std::size_t i = line.rfind('[', 0) == 0 ? 1 : 0;
    std::size_t digits = 0, separators = 0;
    while (i < line.size() && (std::isdigit(static_cast<unsigned char>(line[i])) ||
                               line[i] == '/' || line[i] == '.' || line[i] == '-')) {
        const bool digit = std::isdigit(static_cast<unsigned char>(line[i])) != 0;
        digits += digit ? 1 : 0;
        separators += digit ? 0 : 1;
        ++i;
    }
    return digits > 0 && separators == 2 && i < line.size() && (line[i] == ',' || line[i] == ' ');
}

// Every line must be a message header of the asked layout or a continuation line that no parser
// could take for a header, the dates must only move forward, and the size must stay near 78
// bytes an entry, or the benchmarks would time a different workload than they claim.
TEST(ExportGeneratorTest, WritesOneHeaderPerEntryInItsLayoutWithDatesMovingForward) {
    for (const Layout layout : {Layout::bracketed, Layout::dash, Layout::spanish}) {
        const std::string text = ExportGenerator::generate(kEntries, layout, 42);
        const std::vector<std::string> all = lines(text);
        ASSERT_FALSE(all.empty());
        EXPECT_NE(all.front().find("end-to-end encrypted"), std::string::npos);

        std::size_t headers = 0;
        std::size_t continuations = 0;
        long long previous = 0;
        for (std::size_t i = 1; i < all.size(); ++i) {
            const long long when = headerTime(all[i], layout);
            if (when >= 0) {
                ++headers;
                EXPECT_GE(when, previous) << all[i];
                previous = when;
            } else {
                ++continuations;
                EXPECT_FALSE(startsLikeHeader(all[i])) << all[i];
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
    for (const Layout layout : {Layout::bracketed, Layout::dash, Layout::spanish}) {
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
