#include <gtest/gtest.h>

#include "TestSupport.h"

#include <optional>
#include <string>
#include <vector>

#include "voice/Exchange.h"

namespace lumenary {
namespace {

const std::string kHer = "Amma";

ChatMessage message(const std::string& sender, const std::string& text, Timestamp date) {
    static int next = 0;
    return ChatMessage{testing::labelledId(testing::numbered("ID-", ++next)), sender, text, date};
}

std::vector<std::optional<std::string>> prompts(const std::vector<Exchange>& exchanges) {
    std::vector<std::optional<std::string>> result;
    for (const auto& exchange : exchanges)
        result.push_back(exchange.prompt);
    return result;
}

TEST(Exchange, EveryMessageOfHersAnswersTheNearestEarlierMessageOfSomeoneElse) {
    const std::vector<ChatMessage> archive = {
        message(kHer, "good morning", 1000),  // nothing before it
        message("Ravi", "hi", 2000),
        message(kHer, "hello", 2060),  // a burst: both answer "hi"
        message(kHer, "eaten?", 2120),
        message("Ravi", "first", 3000),  // earlier of two in a row: answers nothing
        message("Ravi", "second", 3010),
        message(kHer, "ok", 3100),
        message("Sita", "in the group", 3200),  // anyone who is not her is a prompt
        message(kHer, "yes", 3300),
    };
    const std::vector<Exchange> exchanges = pairExchanges(archive, kHer);
    ASSERT_EQ(exchanges.size(), 5u);
    EXPECT_EQ(prompts(exchanges), (std::vector<std::optional<std::string>>{
                                      std::nullopt, "hi", "hi", "second", "in the group"}));
    EXPECT_EQ(exchanges[1].reply, archive[2]);
    EXPECT_EQ(exchanges[4].id(), archive[8].id);
    EXPECT_TRUE(pairExchanges(archive, "Nobody").empty());
    EXPECT_TRUE(pairExchanges({}, kHer).empty());
}

TEST(Exchange, PromptMustBeAtMostSixHoursOld) {
    const double hour = 3600;
    const std::vector<ChatMessage> archive = {
        message("Ravi", "exactly six hours", 0),
        message(kHer, "still an answer", 6 * hour),
        message("Ravi", "seven hours", 10 * hour),
        message(kHer, "too late", 17 * hour),
        message("Ravi", "from the future", 30 * hour),
        message(kHer, "out of order", 20 * hour),  // negative gap counts as close
        message("Ravi", "long ago", 40 * hour),
        message(kHer, "soon", 41 * hour),
        message(kHer, "much later", 47 * hour),  // her own message in between does not help
    };
    EXPECT_EQ(prompts(pairExchanges(archive, kHer)),
              (std::vector<std::optional<std::string>>{
                  "exactly six hours", std::nullopt, "from the future", "long ago", std::nullopt}));
}

TEST(Exchange, JsonKeepsThePromptOnlyWhenPresent) {
    const Exchange withPrompt{"did you eat?", message(kHer, "yes kanna", 1'600'000'000)};
    const Exchange without{std::nullopt, message(kHer, "good night", 1'600'000'100)};

    nlohmann::ordered_json json = withPrompt;
    EXPECT_EQ(json.at("prompt"), "did you eat?");
    EXPECT_EQ(json.at("reply").at("text"), "yes kanna");
    EXPECT_EQ(json.get<Exchange>(), withPrompt);

    json = without;
    EXPECT_FALSE(json.contains("prompt"));
    EXPECT_EQ(json.get<Exchange>(), without);

    const auto noReply = nlohmann::ordered_json::parse(R"({"prompt": "hi"})");
    EXPECT_THROW(noReply.get<Exchange>(), nlohmann::json::exception);
}

}  // namespace
}  // namespace lumenary
