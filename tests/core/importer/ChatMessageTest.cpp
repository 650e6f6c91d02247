#include <gtest/gtest.h>

#include <set>
#include <string_view>

#include "importer/ChatMessage.h"

namespace lumenary {
namespace {

// 8-4-4-4-12 upper-case hex digits, version 4, RFC 4122 variant.
bool isVersion4Uuid(const std::string& id) {
    if (id.size() != 36)
        return false;
    for (std::size_t i = 0; i < id.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        const char c = id[i];
        if (dash != (c == '-'))
            return false;
        if (!dash && !((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F')))
            return false;
    }
    return id[14] == '4' && std::string_view("89AB").find(id[19]) != std::string_view::npos;
}

TEST(ChatMessage, IdsAreDistinctUpperCaseVersion4Uuids) {
    std::set<std::string> seen;
    for (int i = 0; i < 10000; ++i) {
        const Uuid uuid = Uuid::random();
        const std::string id = uuid.text();
        ASSERT_TRUE(isVersion4Uuid(id)) << id;
        ASSERT_TRUE(seen.insert(id).second) << id;
        ASSERT_EQ(Uuid::parse(id), uuid);
    }
    EXPECT_EQ(Uuid::parse("00112233-4455-6677-8899-aabbccddeeff")->text(),
              "00112233-4455-6677-8899-AABBCCDDEEFF");
    for (const char* bad : {"", "X", "00112233-4455-6677-8899-aabbccddeef",
                            "00112233-4455-6677-8899-aabbccddeeffa", "0011223344556677-8899-aabbccddeeff",
                            "00112233-4455-6677-8899-aabbccddeefg"}) {
        EXPECT_EQ(Uuid::parse(bad), std::nullopt) << bad;
    }
}

TEST(ChatMessage, EqualityTakesTheIdIntoAccount) {
    const ChatMessage a{Uuid::random(), "Amma", "Did you eat?", 1615567532};
    ChatMessage b = a;
    EXPECT_EQ(a, b);
    b.id = Uuid::random();
    EXPECT_NE(a, b);
}

TEST(ChatMessage, SurvivesJsonWithoutTheFractionOfASecond) {
    const ChatMessage message{Uuid::random(), "Amma", "Did you eat?\n\u0C24\u0C3F\u0C28\u0C4D",
                              1615567532.75};
    const nlohmann::ordered_json json = message;
    EXPECT_EQ(json.dump(), "{\"id\":\"" + message.id.text() +
                               "\",\"sender\":\"Amma\",\"text\":\"Did you eat?\\n\u0C24\u0C3F"
                               "\u0C28\u0C4D\",\"date\":\"2021-03-12T16:45:32Z\"}");
    const ChatMessage loaded = json.get<ChatMessage>();
    EXPECT_EQ(loaded.id, message.id);
    EXPECT_EQ(loaded.sender, message.sender);
    EXPECT_EQ(loaded.text, message.text);
    EXPECT_EQ(loaded.date, 1615567532);

    // A damaged record fails as a whole.
    for (const char* damaged :
         {R"({"sender":"Amma","text":"hi","date":"2021-03-12T16:45:32Z"})",
          R"({"id":"00112233-4455-4677-8899-AABBCCDDEEFF","sender":"Amma","text":7,"date":"2021-03-12T16:45:32Z"})",
          R"({"id":"00112233-4455-4677-8899-AABBCCDDEEFF","sender":"Amma","text":"hi","date":"last Friday"})",
          R"({"id":"00112233-4455-4677-8899-AABBCCDDEEFF","sender":"Amma","text":"hi"})",
          R"({"id":"X","sender":"Amma","text":"hi","date":"2021-03-12T16:45:32Z"})"}) {
        EXPECT_THROW(nlohmann::ordered_json::parse(damaged).get<ChatMessage>(),
                     nlohmann::json::exception)
            << damaged;
    }
}

}  // namespace
}  // namespace lumenary
