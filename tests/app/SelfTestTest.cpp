// The self-test report: its sections, the guess lines, the early stops, and the real program run on
// the bundled sample chat and on a zip export.

#include <gtest/gtest.h>

#include <sstream>

#include "SelfTest.h"
#include "TestSupport.h"

namespace lumenary {
namespace {

using testing::TemporaryFolder;

struct Report {
    int code;
    std::string text;
    bool has(const std::string& line) const { return text.find(line) != std::string::npos; }
};

Report report(const std::string& exportText, std::optional<std::string> hint = std::nullopt,
              std::optional<std::string> query = std::nullopt) {
    TemporaryFolder folder;
    const auto path = folder.write("_chat.txt", exportText);
    std::ostringstream out;
    const int code = SelfTest::run(path.string(), hint, query, out);
    return {code, out.str()};
}

const char* const kTwoPeople =
    "12/03/21, 09:00 - Ravi: did you eat today amma\n"
    "12/03/21, 09:01 - Amma: yes kanna I ate rice and dal\n"
    "12/03/21, 09:02 - Amma: did you eat?\n"
    "12/03/21, 09:05 - Ravi: not yet, work is busy\n"
    "12/03/21, 09:06 - Amma: eat something first ra\n";

TEST(SelfTestReport, NamesTheGuessAndTheOtherSendersOnlyWithoutAHint) {
    Report guessed = report(kTwoPeople);
    EXPECT_EQ(guessed.code, 0);
    EXPECT_TRUE(guessed.has("Reading as        Amma   (a guess \u2014 pass --as <name> to be sure)\n"));
    EXPECT_TRUE(guessed.has("                  (not Ravi? re-run with --as \"Ravi\")\n"));

    Report hinted = report(kTwoPeople, "ravi");
    EXPECT_TRUE(hinted.has("Reading as        Ravi\n"));
    EXPECT_FALSE(hinted.has("a guess"));
    EXPECT_FALSE(hinted.has("(not "));

    Report alone = report("12/03/21, 09:01 - Amma: yes kanna I ate rice\n");
    EXPECT_TRUE(alone.has("Reading as        Amma   (a guess"));
    EXPECT_FALSE(alone.has("(not "));
}

TEST(SelfTestReport, PrintsEverySectionInOrderWithItsRule) {
    const Report r = report(kTwoPeople, "Amma", "did you eat rice");
    ASSERT_EQ(r.code, 0);
    std::string rule20;
    for (int i = 0; i < 20; ++i) rule20 += "\u2500";
    std::string rule30;
    for (int i = 0; i < 30; ++i) rule30 += "\u2500";

    EXPECT_EQ(r.text.rfind("\nARCHIVE\n" + rule20 + "\n", 0), 0u) << r.text;
    EXPECT_TRUE(r.has("Messages parsed   5\nVoice notes       0\nParticipants      Amma (3), Ravi (2)\n"));
    EXPECT_TRUE(r.has("\nSTATISTICS  (pass 1, no model)\n" + rule30 + "\n"));
    EXPECT_TRUE(r.has("Her messages      3\n"));
    EXPECT_TRUE(r.has("Span              2021\u201321\n"));
    EXPECT_TRUE(r.has("Writes most at    9:00\n"));
    EXPECT_TRUE(r.has("Median reply      60s\n"));
    EXPECT_TRUE(r.has("\nVOICE CARD  (what goes into the prompt)\n"));
    EXPECT_TRUE(r.has("Amma is your mother. She writes short messages"));
    EXPECT_TRUE(r.has("\nFEW-SHOT BANK  ("));
    EXPECT_TRUE(r.has("\nRETRIEVAL  (3 exchanges indexed)\n"));
    EXPECT_TRUE(r.has("\nYou: did you eat rice\n  \u2192 yes kanna I ate rice and dal\n     real, "));
    EXPECT_TRUE(r.has("\nON THIS DAY\n" + rule20 + "\n"));
    EXPECT_EQ(r.text.substr(r.text.size() - 2), "\n\n");

    const auto order = {"ARCHIVE", "STATISTICS", "VOICE CARD", "FEW-SHOT", "RETRIEVAL", "ON THIS DAY"};
    std::size_t last = 0;
    for (const char* heading : order) {
        const std::size_t at = r.text.find(heading);
        ASSERT_NE(at, std::string::npos) << heading;
        EXPECT_GT(at, last) << heading;
        last = at;
    }
}

TEST(SelfTestReport, SaysWhenNothingMatchesAQuery) {
    const Report r = report(kTwoPeople, "Amma", "zebra crossing");
    EXPECT_TRUE(r.has("\nYou: zebra crossing\n  (nothing matched \u2014 she would say so rather than invent)\n"));
}

TEST(SelfTestReport, CountsTheBankBeyondEightExchanges) {
    // Nine replies with no word in common, each answering a question of his.
    const char* const words[] = {"apple mango",   "river stone",  "yellow kite",
                                 "paper boat",    "green chilli", "temple bell",
                                 "monsoon cloud", "silver lamp",  "jasmine rope"};
    std::string chat;
    for (int i = 0; i < 9; ++i) {
        const std::string minute = std::to_string(10 + 2 * i);
        chat += "12/03/21, 09:" + minute + " - Ravi: question number " + std::to_string(i) + "\n";
        chat += "12/03/21, 09:" + std::to_string(11 + 2 * i) + " - Amma: " + words[i] + "\n";
    }
    const Report nine = report(chat, "Amma");
    EXPECT_TRUE(nine.has("FEW-SHOT BANK  (9 exchanges, in every prompt)"));
    EXPECT_TRUE(nine.has("  \u2026 and 1 more\n"));
    EXPECT_TRUE(nine.has("  Them: question number 0\n  Amma: apple mango\n\n"));

    const std::size_t cut = chat.rfind("12/03/21, 09:26 - Ravi");
    const Report eight = report(chat.substr(0, cut), "Amma");
    EXPECT_TRUE(eight.has("FEW-SHOT BANK  (8 exchanges, in every prompt)"));
    EXPECT_FALSE(eight.has("more\n"));
}

TEST(SelfTestReport, StopsEarlyWithItsOwnWords) {
    std::ostringstream out;
    EXPECT_EQ(SelfTest::run("/nonexistent/chat.txt", std::nullopt, std::nullopt, out), 1);
    EXPECT_EQ(out.str(), "No file at /nonexistent/chat.txt\n");

    const Report nothing = report("just some words\nand more words\n");
    EXPECT_EQ(nothing.code, 1);
    EXPECT_TRUE(nothing.has("Messages parsed   0\nVoice notes       0\nParticipants      \n"));
    EXPECT_TRUE(nothing.has(
        "\nNothing parsed. If this is a real export, the format may have changed \u2014\n"
        "send the first three lines of _chat.txt so the parser can be updated.\n"));
    EXPECT_FALSE(nothing.has("STATISTICS"));

    TemporaryFolder folder;
    const auto zip = folder.write("chat.zip", "this is not a zip at all");
    std::ostringstream failed;
    EXPECT_EQ(SelfTest::run(zip.string(), std::nullopt, std::nullopt, failed), 1);
    EXPECT_EQ(failed.str().rfind("Import failed: Could not read that file. ", 0), 0u) << failed.str();
}

TEST(SelfTestReport, RuleIsAtLeastTwentyAndOtherwiseAsLongAsItsTitle) {
    std::ostringstream out;
    SelfTest::rule("ab", out);
    SelfTest::rule("FEW-SHOT BANK  (30 exchanges, in every prompt)", out);
    std::string expected = "\nab\n";
    for (int i = 0; i < 20; ++i) expected += "\u2500";
    expected += "\n\nFEW-SHOT BANK  (30 exchanges, in every prompt)\n";
    for (int i = 0; i < 46; ++i) expected += "\u2500";
    EXPECT_EQ(out.str(), expected + "\n");
}

TEST(SelfTestProgram, ReadsTheSampleChat) {
    const auto run = testing::runProgram(
        {"--selftest", (testing::sourceDir() / "docs/sample-chat.txt").string(), "--as", "Amma"});
    ASSERT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("Reading as        Amma\n"), std::string::npos);
    EXPECT_NE(run.out.find("Participants      Amma ("), std::string::npos);
    EXPECT_NE(run.out.find("FEW-SHOT BANK  (30 exchanges, in every prompt)"), std::string::npos);
    EXPECT_NE(run.out.find("  \u2026 and 22 more\n"), std::string::npos);
    EXPECT_NE(run.out.find("Telugu"), std::string::npos);  // the voice card names both scripts
    for (const char* query : {"i haven't eaten yet", "work is stressful today",
                              "how do i cook rice", "i miss you"}) {
        const std::size_t at = run.out.find(std::string("\nYou: ") + query + "\n  \u2192 ");
        EXPECT_NE(at, std::string::npos) << query;
    }
    EXPECT_EQ(run.out.find("Media omitted"), std::string::npos);
    EXPECT_EQ(run.out.find("Missed voice call"), std::string::npos);
}

TEST(SelfTestProgram, ReadsAZipExportWithAVoiceNote) {
    const auto run = testing::runProgram(
        {"--selftest", testing::testData("ios-export-with-voice-note.zip").string()});
    ASSERT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_NE(run.out.find("Voice notes       1\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("(a guess"), std::string::npos);
}

TEST(SelfTestProgram, BadFilesEndInAClearMessage) {
    TemporaryFolder folder;
    const std::vector<std::pair<std::string, std::string>> files{
        {"empty.txt", ""},
        {"binary.txt", std::string("\x00\x01\x02\xff\xfe\x00\x10", 7) + std::string(5000, '\0')},
        {"report.txt", "%PDF-1.4\n%\xe2\xe3\xcf\xd3\n1 0 obj\n<< /Type /Catalog >>\nendobj\n"},
        {"empty.zip", ""},
        {"fake.zip", "PK\x03\x04 not really"},
        {"huge-line.txt", "12/03/21, 09:00 - Amma: " + std::string(4 << 20, 'a') + "\n"},
    };
    for (const auto& [name, bytes] : files) {
        const auto path = folder.write(name, bytes);
        const auto run = testing::runProgram({"--selftest", path.string()});
        EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 1) << name << ": " << run.exitCode;
        EXPECT_EQ(run.err, "") << name;
        if (run.exitCode == 1) {
            EXPECT_TRUE(run.out.find("Import failed: ") == 0 ||
                        run.out.find("Nothing parsed.") != std::string::npos)
                << name << ": " << run.out;
        }
    }
}

}  // namespace
}  // namespace lumenary
