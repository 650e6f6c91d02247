// The command line: which mode each argument list reaches. The modes themselves are tested
// through the real program in ModelModesTest.

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "CommandLine.h"
#include "TestSupport.h"

namespace lumenary {
namespace {

using CommandLine::selfTestArguments;

std::vector<std::string> withProgram(std::vector<std::string> rest) {
    rest.insert(rest.begin(), "lumenary");
    return rest;
}

TEST(CommandLine, SelfTestArgumentsTakeLeadingAsPairsThenTheQuery) {
    auto parsed = selfTestArguments(
        withProgram({"--selftest", "chat.zip", "--as", "Amma", "what", "did", "we", "eat"}));
    EXPECT_EQ(parsed.path, "chat.zip");
    EXPECT_EQ(parsed.speakerHint, "Amma");
    EXPECT_EQ(parsed.query, "what did we eat");

    parsed =
        selfTestArguments(withProgram({"--selftest", "chat.zip", "--as", "Ann", "--as", "Bea"}));
    EXPECT_EQ(parsed.speakerHint, "Bea");
    EXPECT_EQ(parsed.query, std::nullopt);

    // A lone "--as" is a query, and an "--as" after a query word belongs to the query.
    parsed = selfTestArguments(withProgram({"--selftest", "chat.zip", "--as"}));
    EXPECT_EQ(parsed.speakerHint, std::nullopt);
    EXPECT_EQ(parsed.query, "--as");

    parsed = selfTestArguments(withProgram({"--selftest", "chat.zip", "hello", "--as", "Ann"}));
    EXPECT_EQ(parsed.speakerHint, std::nullopt);
    EXPECT_EQ(parsed.query, "hello --as Ann");

    parsed = selfTestArguments(withProgram({"--selftest", "chat.zip"}));
    EXPECT_EQ(parsed.speakerHint, std::nullopt);
    EXPECT_EQ(parsed.query, std::nullopt);
}

TEST(CommandLine, DemoFindsItsPathAndNameAnywhere) {
    auto demo = CommandLine::demoArguments(withProgram({"--as", "Amma", "--demo"}));
    ASSERT_TRUE(demo);
    EXPECT_EQ(demo->exportPath, "docs/sample-chat.txt");
    EXPECT_EQ(demo->preferredName, "Amma");

    demo =
        CommandLine::demoArguments(withProgram({"x", "--demo", "--verbose", "~/chat.zip", "--as"}));
    ASSERT_TRUE(demo);
    EXPECT_EQ(demo->exportPath, "~/chat.zip");
    EXPECT_EQ(demo->preferredName, std::nullopt);

    EXPECT_FALSE(CommandLine::demoArguments(withProgram({"--selftest", "x"})));
}

struct Outcome {
    int code;
    std::string out, err;
};

Outcome run(std::vector<std::string> args) {
    std::ostringstream out, err;
    const int code = CommandLine::run(withProgram(std::move(args)), out, err);
    return {code, out.str(), err.str()};
}

TEST(CommandLine, SelfTestWithoutAPathPrintsTheUsageLine) {
    const Outcome outcome = run({"--selftest"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out,
              "usage: Lumenary --selftest <chat.zip | _chat.txt> [--as <name>] [query]\n");
}

TEST(CommandLine, AnythingButATerminalSwitchInFirstPlaceStartsTheApplication) {
    // A switch only counts in the first position, "--ask" needs words, and the preview switches
    // need their paths: all of these start the application, which, with no display anywhere,
    // says so and gives up.
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        unsetenv(name);
    for (const auto& args : std::vector<std::vector<std::string>>{{},
                                                                  {"x", "--selftest"},
                                                                  {"x", "--ping"},
                                                                  {"--ask"},
                                                                  {"--screens"},
                                                                  {"--traits", "photo.jpg"}}) {
        const Outcome outcome = run(args);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err,
                  "lumenary: no display to show her on. Run it from a desktop session, or try "
                  "lumenary --selftest <chat>.\n");
    }
}

}  // namespace
}  // namespace lumenary
