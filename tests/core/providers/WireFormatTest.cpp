#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "providers/WireFormat.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;
using Headers = std::vector<std::pair<std::string, std::string>>;

const std::vector<ChatTurn> turns = {
    {"user", "hi \"you\""}, {"assistant", "hey"}, {"narrator", "x"}};

TEST(WireFormat, ClaudeRequestWithAndWithoutFallbacks) {
    const HttpRequest with = WireFormat::claudeRequest("sk-1", "claude-m", "Be her.", turns, true);
    EXPECT_EQ(with.method, "POST");
    EXPECT_EQ(with.url, "https://api.anthropic.com/v1/messages");
    EXPECT_EQ(with.timeoutSeconds, 60);
    EXPECT_EQ(with.headers, (Headers{{"Content-Type", "application/json"},
                                     {"x-api-key", "sk-1"},
                                     {"anthropic-version", "2023-06-01"},
                                     {"anthropic-beta", "server-side-fallback-2026-07-01"}}));
    EXPECT_EQ(with.body,
              R"({"model":"claude-m","max_tokens":700,"output_config":{"effort":"low"},)"
              R"("system":[{"type":"text","text":"Be her.","cache_control":{"type":"ephemeral"}}],)"
              R"("messages":[{"role":"user","content":"hi \"you\""},)"
              R"({"role":"assistant","content":"hey"},{"role":"narrator","content":"x"}],)"
              R"("fallbacks":"default"})");

    const HttpRequest without =
        WireFormat::claudeRequest("sk-1", "claude-m", "Be her.", turns, false, "http://proxy:8/");
    EXPECT_EQ(without.url, "http://proxy:8/v1/messages");
    EXPECT_EQ(without.headers, (Headers{{"Content-Type", "application/json"},
                                        {"x-api-key", "sk-1"},
                                        {"anthropic-version", "2023-06-01"}}));
    const Json body = Json::parse(without.body);
    EXPECT_FALSE(body.contains("fallbacks"));
    EXPECT_EQ(body["messages"].size(), 3u);
}

TEST(WireFormat, OpenAIRequestPutsTheSystemPromptFirst) {
    const HttpRequest request = WireFormat::openAIRequest("sk-2", "gpt-m", "Be her.", turns);
    EXPECT_EQ(request.url, "https://api.openai.com/v1/chat/completions");
    EXPECT_EQ(request.headers,
              (Headers{{"Content-Type", "application/json"}, {"Authorization", "Bearer sk-2"}}));
    EXPECT_EQ(request.body,
              R"({"model":"gpt-m","max_completion_tokens":700,"messages":[)"
              R"({"role":"system","content":"Be her."},{"role":"user","content":"hi \"you\""},)"
              R"({"role":"assistant","content":"hey"},{"role":"narrator","content":"x"}]})");
}

TEST(WireFormat, GeminiRequestMapsRolesAndThinkingLevel) {
    const auto quiet = WireFormat::geminiRequest("g-3", "gem/m-1", "Be her.", turns, true);
    ASSERT_TRUE(quiet);
    EXPECT_EQ(quiet->url,
              "https://generativelanguage.googleapis.com/v1beta/models/gem/m-1:generateContent");
    EXPECT_EQ(quiet->headers,
              (Headers{{"Content-Type", "application/json"}, {"x-goog-api-key", "g-3"}}));
    EXPECT_EQ(
        quiet->body,
        R"({"systemInstruction":{"parts":[{"text":"Be her."}]},"contents":[)"
        R"({"role":"user","parts":[{"text":"hi \"you\""}]},)"
        R"({"role":"model","parts":[{"text":"hey"}]},{"role":"user","parts":[{"text":"x"}]}],)"
        R"("generationConfig":{"maxOutputTokens":700,"temperature":0.9,)"
        R"("thinkingConfig":{"thinkingLevel":"minimal"}}})");

    const auto loud = WireFormat::geminiRequest("g-3", "m", "s", {}, false, "https://h");
    ASSERT_TRUE(loud);
    EXPECT_EQ(loud->url, "https://h/v1beta/models/m:generateContent");
    EXPECT_EQ(Json::parse(loud->body)["generationConfig"],
              Json::parse(R"({"maxOutputTokens":700,"temperature":0.9})"));
    EXPECT_EQ(Json::parse(loud->body)["contents"], Json::array());

    for (const char* bad : {"", "my model", "m?x=1", "m#a", "m\xC3\xA9"}) {
        const auto refused = WireFormat::geminiRequest("g", bad, "s", {}, true);
        ASSERT_FALSE(refused) << bad;
        EXPECT_EQ(refused.error(), ProviderError::empty());
    }
}

std::string text(Provider provider, const std::string& body, int status = 200) {
    const HttpRequest sent = WireFormat::claudeRequest("k", "m", "s", {}, true);
    const auto reply = WireFormat::replyText(provider, sent, status, body);
    return reply ? "ok:" + *reply : "error:" + reply.error().description();
}

const std::string emptyReply = "error:The provider returned an empty reply.";

TEST(WireFormat, ClaudeRepliesJoinTextBlocksAndReportRefusals) {
    EXPECT_EQ(text(Provider::claude, R"({"content":[{"type":"text","text":"Hi "},)"
                                     R"({"type":"thinking","text":"hmm"},)"
                                     R"({"type":"text","text":"there\n"}]})"),
              "ok:Hi there\n");
    EXPECT_EQ(text(Provider::claude, R"({"content":[{"type":"tool_use","id":"1"}]})"), emptyReply);
    EXPECT_EQ(text(Provider::claude, R"({"content":[{"type":"text","text":""}]})"), emptyReply);
    EXPECT_EQ(text(Provider::claude, R"({"content":"Hi"})"), emptyReply);
    EXPECT_EQ(text(Provider::claude, R"({"stop_reason":"refusal","content":[]})"),
              "error:The model declined to answer. ");
    EXPECT_EQ(text(Provider::claude, R"({"stop_reason":"refusal","stop_details":)"
                                     R"({"explanation":"Unsafe."},"content":[]})"),
              "error:The model declined to answer. Unsafe.");
    EXPECT_EQ(text(Provider::claude, R"({"stop_reason":"end_turn","content":[)"
                                     R"({"type":"text","text":"ok"}]})"),
              "ok:ok");
}

TEST(WireFormat, OpenAIAndGeminiRepliesFollowTheirPaths) {
    EXPECT_EQ(text(Provider::openAI, R"({"choices":[{"message":{"content":" Yo "}},)"
                                     R"({"message":{"content":"second"}}]})"),
              "ok: Yo ");
    for (const char* body : {R"({"choices":[]})", R"({"choices":[{"message":{"content":""}}]})",
                             R"({"choices":[{"message":{"content":null,"refusal":"no"}}]})",
                             R"({"choices":[{"message":"hi"}]})", R"({"choices":["hi"]})"})
        EXPECT_EQ(text(Provider::openAI, body), emptyReply) << body;

    EXPECT_EQ(text(Provider::gemini, R"({"candidates":[{"content":{"parts":[{"text":"a"},)"
                                     R"({"inlineData":{}},{"text":"b"}]}}]})"),
              "ok:ab");
    for (const char* body : {R"({"candidates":[]})", R"({"candidates":[{"content":{}}]})",
                             R"({"candidates":[{"content":{"parts":[{"text":""}]}}]})",
                             R"({"candidates":[{"finishReason":"SAFETY"}]})"})
        EXPECT_EQ(text(Provider::gemini, body), emptyReply) << body;
}

TEST(WireFormat, ResponsesThatAreNotJsonObjectsOrNotSuccessful) {
    EXPECT_EQ(text(Provider::openAI, "not json"), emptyReply);
    EXPECT_EQ(text(Provider::openAI, "[1,2]"), emptyReply);
    EXPECT_EQ(text(Provider::openAI, R"({"error":{"message":"slow down"}})", 429),
              "error:Rate limited \u2014 too many requests, or a free tier used up. (slow down)");
    EXPECT_EQ(text(Provider::gemini, std::string(300, 'z'), 502),
              "error:502: " + std::string(240, 'z'));
    const auto bad = WireFormat::readResponse({}, 500, "\xFF\xFE");
    ASSERT_FALSE(bad);
    EXPECT_EQ(bad.error(), ProviderError::http(500, ""));
}

TEST(WireFormat, EchoedKeysNeverReachTheErrorText) {
    const std::string key = "sk-secret-123";
    const HttpRequest openAI = WireFormat::openAIRequest(key, "m", "s", {});
    const auto reply = WireFormat::replyText(
        Provider::openAI, openAI, 401,
        R"({"error":{"message":"Incorrect API key provided: sk-secret-123."}})");
    ASSERT_FALSE(reply);
    EXPECT_EQ(reply.error().description().find(key), std::string::npos);
    EXPECT_EQ(reply.error().description(),
              "That API key was rejected. Check it in Settings. "
              "(Incorrect API key provided: \u2026.)");
    const auto gemini = WireFormat::geminiRequest("AIza-k", "m", "s", {}, true);
    ASSERT_TRUE(gemini);
    const auto echoed = WireFormat::readResponse(*gemini, 400, "bad key AIza-k AIza-k");
    ASSERT_FALSE(echoed);
    EXPECT_EQ(echoed.error().body, "bad key \u2026 \u2026");
}

TEST(WireFormat, SecondAttemptsOnlyForBadRequestsNamingTheFeature) {
    EXPECT_TRUE(WireFormat::retryWithoutFallbacks(ProviderError::http(400, "Unknown BETA")));
    EXPECT_TRUE(WireFormat::retryWithoutFallbacks(ProviderError::http(400, "FallBacks: no")));
    EXPECT_FALSE(WireFormat::retryWithoutFallbacks(ProviderError::http(400, "max_tokens")));
    EXPECT_FALSE(WireFormat::retryWithoutFallbacks(ProviderError::http(404, "beta")));
    EXPECT_FALSE(WireFormat::retryWithoutFallbacks(ProviderError::refused("beta")));
    EXPECT_TRUE(WireFormat::retryWithoutThinkingLevel(ProviderError::http(400, "ThinkingLevel")));
    EXPECT_FALSE(WireFormat::retryWithoutThinkingLevel(ProviderError::http(400, "beta")));
    EXPECT_FALSE(WireFormat::retryWithoutThinkingLevel(ProviderError::http(500, "thinking")));
}

}  // namespace
}  // namespace lumenary
