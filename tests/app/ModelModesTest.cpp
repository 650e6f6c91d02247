// The command-line model modes through the real program, in a private HOME with a running
// keyring and a fake provider: seeding the demo, asking her, pinging, and the login item.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "FakeProvider.h"
#include "LoginItem.h"
#include "TestSupport.h"
#include "common/XdgPaths.h"
#include "providers/Keys.h"
#include "store/Store.h"

namespace lumenary {
namespace {

namespace fs = std::filesystem;
using testing::FakeProvider;
using testing::runProgram;

constexpr const char* kNoKey = "No API key set. Add one in Settings.\n";

std::string claudeReply(const std::string& text) {
    return nlohmann::json{{"content", {{{"type", "text"}, {"text", text}}}}}.dump();
}

std::string sampleChat() {
    return (testing::sourceDir() / "docs/sample-chat.txt").string();
}

// Every run must be in the private HOME the test wrapper made, never the real one. It also has
// no display, so that the desktop application a seeded demo goes on to start says so and ends.
bool inPrivateHome() {
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        unsetenv(name);
    const char* home = std::getenv("HOME");
    return home != nullptr && fs::path(home).filename().string().starts_with("lumenary-home.");
}

void pointClaudeAt(const std::string& baseUrl) {
    Store store(Store::defaultFolder());
    Persona persona = store.persona();
    persona.herWordsOnly = false;
    persona.endpoints = std::map<std::string, std::string>{{"claude", baseUrl}};
    store.setPersona(persona);
    store.save();
}

TEST(ModelModes, DemoSeedsTheStoreThenAskAndPingReachTheConfiguredProvider) {
    ASSERT_TRUE(inPrivateHome());
    Keys::removeAll();

    auto run = runProgram({"--demo", sampleChat(), "--as", "amma"});
    EXPECT_EQ(run.out, "Seeded 779 messages as Amma. Starting\u2026\n");
    EXPECT_EQ(run.exitCode, 1);  // no display to start the desktop application on
    EXPECT_EQ(run.err,
              "lumenary: no display to show her on. Run it from a desktop session, or try "
              "lumenary --selftest <chat>.\n");
    EXPECT_TRUE(fs::exists(Store::defaultFolder() / "messages.json"));

    for (const auto& args :
         std::vector<std::vector<std::string>>{{"--ask", "did", "you", "eat"}, {"--ping"}}) {
        run = runProgram(args);
        EXPECT_EQ(run.out, kNoKey);
        EXPECT_EQ(run.exitCode, 1);
    }

    FakeProvider provider;
    pointClaudeAt(provider.baseUrl());
    ASSERT_EQ(Keys::backend(), Keys::Backend::secretService);
    Keys::set("sk-test-123", Provider::claude);

    provider.enqueue(200, claudeReply("yes kanna\nate already "));
    run = runProgram({"--ask", "did", "you", "eat"});
    EXPECT_EQ(run.out, "yes kanna\nate already \n");
    EXPECT_EQ(run.exitCode, 0);
    auto requests = provider.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].path, "/v1/messages");
    EXPECT_EQ(requests[0].header("x-api-key"), "sk-test-123");
    const auto body = nlohmann::json::parse(requests[0].body);
    const std::string system = body["system"][0]["text"];
    EXPECT_NE(system.find("You are Amma, the user's mother."), std::string::npos);
    EXPECT_NE(system.find("\u2500\u2500 HOW SHE ACTUALLY REPLIES \u2500\u2500"), std::string::npos);
    EXPECT_NE(system.find("\u2500\u2500 CLOSEST REAL MESSAGES TO WHAT THEY JUST SAID"),
              std::string::npos);
    EXPECT_EQ(body["messages"].back(),
              (nlohmann::json{{"role", "user"}, {"content", "did you eat"}}));
    // Asking adds nothing to the conversation.
    EXPECT_TRUE(Store(Store::defaultFolder()).transcript().empty());

    provider.enqueue(200, claudeReply("  ok \n"));
    run = runProgram({"--ping", "are", "you", "there"});
    EXPECT_EQ(run.out, "Claude \u00B7 claude-opus-5\nok\n");
    EXPECT_EQ(run.exitCode, 0);
    const auto ping = nlohmann::json::parse(provider.requests().back().body);
    EXPECT_EQ(ping["system"][0]["text"], "Reply with the single word: ok");
    EXPECT_EQ(ping["messages"],
              (nlohmann::json::array({{{"role", "user"}, {"content", "are you there"}}})));

    // A rejected key is reported in the user's words, without the key.
    provider.enqueue(401, "invalid x-api-key sk-test-123");
    run = runProgram({"--ping"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.starts_with(
        "Claude \u00B7 claude-opus-5\nFailed: That API key was rejected. Check it in Settings. ("));
    EXPECT_EQ(run.out.find("sk-test-123"), std::string::npos);
    Keys::removeAll();
}

std::vector<fs::path> earlierCopies() {
    std::vector<fs::path> copies;
    for (const auto& entry : fs::directory_iterator(Store::defaultFolder())) {
        if (entry.path().filename().string().find("before-demo") != std::string::npos)
            copies.push_back(entry.path());
    }
    return copies;
}

TEST(ModelModes, DemoKeepsOneEarlierCopyAndSaysWhyItCouldNotSeed) {
    ASSERT_TRUE(inPrivateHome());
    const fs::path home = XdgPaths::home();
    fs::copy_file(sampleChat(), home / "chat.txt", fs::copy_options::overwrite_existing);

    // The folder already holds an archive from an earlier seeding: each run keeps one copy of
    // what it replaces, and only the latest. A link among the files is not followed.
    std::ofstream(home / "secret.txt") << "not hers";
    fs::create_symlink(home / "secret.txt", Store::defaultFolder() / "chat.json");
    for (int run = 0; run < 2; ++run) {
        const auto before = testing::readFile(Store::defaultFolder() / "messages.json");
        const auto seeded = runProgram({"--demo", "~/chat.txt"});
        const auto copies = earlierCopies();
        ASSERT_EQ(copies.size(), 1u);
        EXPECT_EQ(seeded.out, "Kept a copy of the earlier archive in " + copies[0].string() +
                                  ".\nSeeded 779 messages as Amma. Starting\u2026\n");
        EXPECT_EQ(testing::readFile(copies[0] / "messages.json"), before);
        EXPECT_FALSE(fs::exists(fs::symlink_status(copies[0] / "chat.json")));
    }
    const Store store(Store::defaultFolder());
    EXPECT_EQ(store.persona().name, "Amma");
    EXPECT_TRUE(store.persona().herWordsOnly);
    EXPECT_TRUE(store.persona().onboarded);
    EXPECT_NE(store.index(), nullptr);

    // From a folder without docs/, "--as" alone still seeds from the sample chat.
    auto run = runProgram({"--demo", "--as", "Amma"});
    EXPECT_NE(run.out.find("Seeded 779 messages as Amma."), std::string::npos) << run.err;

    run = runProgram({"--demo", "~/missing.txt"});
    EXPECT_EQ(run.err,
              "Could not seed from " + (home / "missing.txt").string() +
                  ": Could not open \u201Cmissing.txt\u201D: No such file or directory.\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.exitCode, 1);
}

TEST(ModelModes, UnregisterRemovesOnlyAnActiveLoginItem) {
    ASSERT_TRUE(inPrivateHome());
    auto run = runProgram({"--unregister-login-item"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out + run.err, "");

    ASSERT_EQ(LoginItem::set(true), std::nullopt);
    EXPECT_EQ(LoginItem::status(), LoginItem::Status::enabled);
    run = runProgram({"--unregister-login-item"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_FALSE(fs::exists(LoginItem::entryPath()));

    // An entry the user switched off is not the application's to remove.
    std::ofstream(LoginItem::entryPath()) << "[Desktop Entry]\nType=Application\nHidden = true\n";
    EXPECT_EQ(LoginItem::status(), LoginItem::Status::notRegistered);
    EXPECT_EQ(runProgram({"--unregister-login-item"}).exitCode, 0);
    EXPECT_TRUE(fs::exists(LoginItem::entryPath()));
}

TEST(ModelModes, LoginItemQuotesTheProgramPathForTheDesktop) {
    const std::string text = LoginItem::entryText("/opt/my apps/lu\"me$n%ary");
    EXPECT_NE(text.find("\nExec=\"/opt/my apps/lu\\\\\"me\\\\$n%%ary\"\n"), std::string::npos);
    EXPECT_TRUE(text.starts_with("[Desktop Entry]\nType=Application\nName=Lumenary\n"));
}

}  // namespace
}  // namespace lumenary
