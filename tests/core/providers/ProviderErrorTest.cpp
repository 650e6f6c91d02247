#include <gtest/gtest.h>

#include <string>

#include "providers/ProviderError.h"

namespace lumenary {
namespace {

TEST(ProviderError, DescriptionsOfTheCasesWithoutStatus) {
    EXPECT_EQ(ProviderError::noKey(Provider::openAI).description(),
              "No OpenAI API key set. Add one in Settings.");
    EXPECT_EQ(ProviderError::refused("").description(), "The model declined to answer. ");
    EXPECT_EQ(ProviderError::refused("Not this.").description(),
              "The model declined to answer. Not this.");
    EXPECT_EQ(ProviderError::empty().description(), "The provider returned an empty reply.");
}

TEST(ProviderError, StatusDescriptionsUseTheJsonMessageOrElseTheBody) {
    const std::string json = R"({"error":{"message":"model x not found","type":"nf"}})";
    EXPECT_EQ(ProviderError::http(404, json).description(),
              "That model name wasn't found. Change it in Settings. (model x not found)");
    EXPECT_EQ(ProviderError::http(401, "nope").description(),
              "That API key was rejected. Check it in Settings. (nope)");
    EXPECT_EQ(ProviderError::http(403, json).description(),
              "That API key was rejected. Check it in Settings. (model x not found)");
    EXPECT_EQ(ProviderError::http(429, "{}").description(),
              "Rate limited \u2014 too many requests, or a free tier used up. ({})");
    EXPECT_EQ(ProviderError::http(503, "").description(), "503: ");
    // Shapes that only look like an error message fall back to the whole body.
    for (const std::string body : {R"({"error":"boom"})", R"({"error":{"message":7}})",
                                   R"([{"error":{"message":"m"}}])", R"({"error":{"messa)"})
        EXPECT_EQ(ProviderError::http(500, body).description(), "500: " + body) << body;
}

TEST(ProviderError, KeptBodyIsTheFirst240CharactersOfValidUtf8) {
    EXPECT_EQ(keptBody(std::string(240, 'a')), std::string(240, 'a'));
    EXPECT_EQ(keptBody(std::string(241, 'a')), std::string(240, 'a'));
    // A four-byte emoji counts as one character and is never split.
    std::string emoji;
    for (int i = 0; i < 300; ++i)
        emoji += "\U0001F600";
    const std::string kept = keptBody(emoji);
    EXPECT_EQ(kept.size(), 240u * 4u);
    EXPECT_EQ(kept, emoji.substr(0, 240 * 4));
    EXPECT_EQ(keptBody("caf\xC3\xA9 ok"), "caf\xC3\xA9 ok");
    for (const std::string bad : {"\xFF", "ab\xC3", "\xC0\xAF", "\xED\xA0\x80"})
        EXPECT_EQ(keptBody(bad), "") << bad.size();
    const ProviderError error = ProviderError::http(401, std::string(500, 'x'));
    EXPECT_EQ(error.description(),
              "That API key was rejected. Check it in Settings. (" + std::string(240, 'x') + ")");
}

}  // namespace
}  // namespace lumenary
