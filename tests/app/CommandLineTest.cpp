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
    struct Case {
        std::vector<std::string> args;
        std::optional<std::string> path;
        std::optional<std::string> name;
    };
    const Case cases[] = {
        {{"--demo"}, std::nullopt, std::nullopt},
        // The name after "--as" is never taken for the export.
        {{"--demo", "--as", "Amma"}, std::nullopt, "Amma"},
        {{"--as", "Amma", "--demo"}, std::nullopt, "Amma"},
        {{"--demo", "--as", "Amma", "~/chat.zip"}, "~/chat.zip", "Amma"},
        {{"x", "--demo", "--verbose", "~/chat.zip", "--as"}, "~/chat.zip", std::nullopt},
    };
    for (const Case& c : cases) {
        const auto demo = CommandLine::demoArguments(withProgram(c.args));
        ASSERT_TRUE(demo);
        EXPECT_EQ(demo->exportPath, c.path) << c.args.size();
        EXPECT_EQ(demo->preferredName, c.name) << c.args.size();
    }
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
