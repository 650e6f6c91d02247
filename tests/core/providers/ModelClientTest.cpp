#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "FakeProvider.h"
#include "providers/ModelClient.h"

namespace lumenary {

// Failures print as the sentence the user would read, not as bytes.
void PrintTo(const ModelError& error, std::ostream* out) {
    *out << error.description();
}

namespace {

using Json = nlohmann::ordered_json;
using testing::FakeProvider;

const std::string key = "sk-test-key-0042";
const std::vector<ChatTurn> turns = {{"user", "are you there?"}, {"assistant", "always"}};

std::string claudeReply(const std::string& text) {
    return Json{{"content", Json::array({{{"type", "text"}, {"text", text}}})}}.dump();
}

std::string failure(const Expected<std::string, ModelError>& result) {
    return result ? "no error: " + *result : result.error().description();
}

Json bodyOf(const FakeProvider::Request& request) {
    return Json::parse(request.body);
}

class ModelClientTest : public ::testing::Test {
protected:
    FakeProvider server;
    std::vector<double> waits;

    ModelClient::Options options(std::optional<std::string> storedKey = key) {
        ModelClient::Options options;
        options.baseUrl = server.baseUrl();
        options.key = [storedKey](Provider) { return storedKey; };
        options.sleep = [this](double seconds) { waits.push_back(seconds); };
        return options;
    }

    HttpRequest prepared(int timeoutSeconds = 60) {
        HttpRequest request = WireFormat::openAIRequest(key, "m", "s", turns, server.baseUrl());
        request.timeoutSeconds = timeoutSeconds;
        return request;
    }

    Expected<std::string, ModelError> ask(Provider provider, const std::string& model = "m") {
        return ModelClient::complete(provider, model, "Be her.", turns, options());
    }
};

const std::vector<double> bothWaits = {0.7, 1.4};

TEST_F(ModelClientTest, ServerErrorsAreTriedThreeTimesWithGrowingWaits) {
    server.enqueue(503, "busy 1");
    server.enqueue(503, "busy 2");
    server.enqueue(200, R"({"n":3})");
    const auto recovered = ModelClient::send(prepared(), options());
    ASSERT_TRUE(recovered) << recovered.error().description();
    EXPECT_EQ(*recovered, Json::parse(R"({"n":3})"));
    EXPECT_EQ(waits, bothWaits);
    ASSERT_EQ(server.requests().size(), 3u);
    EXPECT_EQ(server.requests()[2].body, server.requests()[0].body);

    waits.clear();
    server.enqueue(503, R"({"error":{"message":"overloaded 1"}})");
    server.enqueue(503, R"({"error":{"message":"overloaded 2"}})");
    server.enqueue(503, R"({"error":{"message":"overloaded 3"}})");
    const auto givenUp = ModelClient::send(prepared(), options());
    ASSERT_FALSE(givenUp);
    EXPECT_EQ(givenUp.error().description(), "503: overloaded 3");
    EXPECT_EQ(waits, bothWaits);
    EXPECT_EQ(server.requests().size(), 6u);
}

TEST_F(ModelClientTest, ClientErrorsAreReportedAtOnceWithTheirDetail) {
    server.enqueue(429, R"({"error":{"message":"slow down"}})");
    EXPECT_EQ(failure(ask(Provider::openAI)),
              "Rate limited \u2014 too many requests, or a free tier used up. (slow down)");

    server.enqueue(404, R"({"error":{"type":"not_found","message":"model gpt-x does not exist"}})");
    EXPECT_EQ(failure(ask(Provider::openAI)),
              "That model name wasn't found. Change it in Settings. (model gpt-x does not exist)");

    server.enqueue(401, std::string(250, 'a') + std::string(50, 'b'));
    EXPECT_EQ(failure(ask(Provider::gemini)),
              "That API key was rejected. Check it in Settings. (" + std::string(240, 'a') + ")");

    // Servers quote the key they refused; the banner must not show it.
    server.enqueue(401, R"({"error":{"message":"Incorrect API key provided: )" + key + R"(."}})");
    const std::string echoed = failure(ask(Provider::openAI));
    EXPECT_EQ(echoed.find(key), std::string::npos);
    EXPECT_TRUE(echoed.starts_with("That API key was rejected.")) << echoed;

    server.enqueue(400, R"({"error":{"message":"max_tokens: too large"}})");
    EXPECT_EQ(failure(ask(Provider::claude)), "400: max_tokens: too large");

    EXPECT_EQ(server.requests().size(), 5u);
    EXPECT_TRUE(waits.empty());
}

TEST_F(ModelClientTest, ClaudeIsAskedWithItsHeadersAndItsRepliesRead) {
    server.enqueue(200, R"({"content":[{"type":"text","text":"Hi "},{"type":"tool_use","id":"t"},)"
                        R"({"type":"text","text":"there"}]})");
    EXPECT_EQ(failure(ask(Provider::claude, "claude-x")), "no error: Hi there");

    const auto sent = server.requests().at(0);
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.path, "/v1/messages");
    EXPECT_EQ(sent.header("x-api-key"), key);
    EXPECT_EQ(sent.header("anthropic-version"), "2023-06-01");
    EXPECT_EQ(sent.header("anthropic-beta"), "server-side-fallback-2026-07-01");
    EXPECT_EQ(sent.header("Content-Type"), "application/json");
    const Json body = bodyOf(sent);
    EXPECT_EQ(body["model"], "claude-x");
    EXPECT_EQ(body["system"][0]["text"], "Be her.");
    EXPECT_EQ(body["messages"], Json::parse(R"([{"role":"user","content":"are you there?"},)"
                                            R"({"role":"assistant","content":"always"}])"));
    EXPECT_EQ(body["fallbacks"], "default");

    server.enqueue(200, R"({"stop_reason":"refusal","content":[]})");
    EXPECT_EQ(failure(ask(Provider::claude)), "The model declined to answer. ");
    server.enqueue(200, R"({"stop_reason":"refusal","stop_details":{"explanation":"Not this."}})");
    EXPECT_EQ(failure(ask(Provider::claude)), "The model declined to answer. Not this.");
    server.enqueue(200, R"({"content":[{"type":"thinking","thinking":"hm"}]})");
    EXPECT_EQ(failure(ask(Provider::claude)), "The provider returned an empty reply.");
    EXPECT_EQ(server.requests().size(), 4u);
}

TEST_F(ModelClientTest, ClaudeIsAskedAgainWithoutFallbacksOnlyWhenABadRequestNamesThem) {
    server.enqueue(400, R"({"error":{"message":"Unexpected value for anthropic-BETA"}})");
    server.enqueue(200, claudeReply("second time"));
    EXPECT_EQ(failure(ask(Provider::claude)), "no error: second time");
    ASSERT_EQ(server.requests().size(), 2u);
    const auto retried = server.requests()[1];
    EXPECT_FALSE(retried.hasHeader("anthropic-beta"));
    EXPECT_EQ(retried.header("x-api-key"), key);
    EXPECT_FALSE(bodyOf(retried).contains("fallbacks"));

    // The second attempt's answer is final, whatever it says.
    server.enqueue(400, "Fallbacks are not available for this model");
    server.enqueue(400, "fallback still unknown");
    EXPECT_EQ(failure(ask(Provider::claude)), "400: fallback still unknown");
    EXPECT_EQ(server.requests().size(), 4u);
    EXPECT_TRUE(waits.empty());
}

TEST_F(ModelClientTest, OpenAIIsAskedWithABearerKey) {
    server.enqueue(200, R"({"choices":[{"message":{"role":"assistant","content":"hey you"}}]})");
    EXPECT_EQ(failure(ask(Provider::openAI, "gpt-x")), "no error: hey you");
    const auto sent = server.requests().at(0);
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.path, "/v1/chat/completions");
    EXPECT_EQ(sent.header("Authorization"), "Bearer " + key);
    EXPECT_EQ(sent.header("Content-Type"), "application/json");
    const Json body = bodyOf(sent);
    EXPECT_EQ(body["model"], "gpt-x");
    EXPECT_EQ(body["messages"][0], Json::parse(R"({"role":"system","content":"Be her."})"));
    EXPECT_EQ(body["messages"].size(), 3u);
}

TEST_F(ModelClientTest, GeminiIsAskedAgainWithoutThinkingLevelWhenItObjects) {
    server.enqueue(400, R"({"error":{"message":"Thinking level is not supported"}})");
    server.enqueue(200, R"({"candidates":[{"content":{"parts":[{"text":"a"},{"text":"b"}]}}]})");
    EXPECT_EQ(failure(ask(Provider::gemini, "gemini-x")), "no error: ab");
    ASSERT_EQ(server.requests().size(), 2u);
    const auto first = server.requests()[0];
    EXPECT_EQ(first.method, "POST");
    EXPECT_EQ(first.path, "/v1beta/models/gemini-x:generateContent");
    EXPECT_EQ(first.header("x-goog-api-key"), key);
    EXPECT_EQ(first.header("Content-Type"), "application/json");
    EXPECT_EQ(bodyOf(first)["generationConfig"]["thinkingConfig"]["thinkingLevel"], "minimal");
    EXPECT_EQ(bodyOf(first)["contents"][1]["role"], "model");
    const auto second = server.requests()[1];
    EXPECT_EQ(second.path, first.path);
    EXPECT_FALSE(bodyOf(second)["generationConfig"].contains("thinkingConfig"));

    // A model name that cannot be part of a URL is an error, not a request.
    EXPECT_EQ(failure(ask(Provider::gemini, "my model?")), "The provider returned an empty reply.");
    EXPECT_EQ(server.requests().size(), 2u);
}

TEST_F(ModelClientTest, WithoutAKeyNothingIsSent) {
    for (const auto& stored : {std::optional<std::string>(), std::optional<std::string>("")}) {
        for (Provider provider : allProviders) {
            const auto reply = ModelClient::complete(provider, "m", "s", turns, options(stored));
            ASSERT_FALSE(reply);
            EXPECT_EQ(reply.error(), ModelError{ProviderError::noKey(provider)});
        }
    }
    EXPECT_EQ(failure(ModelClient::complete(Provider::gemini, "m", "s", turns, options({}))),
              "No Gemini API key set. Add one in Settings.");
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(ModelClientTest, LostAndRefusedConnectionsAreRetried) {
    FakeProvider::Reply hangUp;
    hangUp.closeWithoutAnswer = true;
    server.setDefault(hangUp);
    const auto lost = ModelClient::send(prepared(), options());
    ASSERT_FALSE(lost);
    const TransportError connectionLost{TransportError::Kind::connectionLost, ""};
    EXPECT_EQ(lost.error(), ModelError{connectionLost});
    EXPECT_EQ(lost.error().description(), "The network connection was lost.");
    EXPECT_EQ(server.requests().size(), 3u);
    EXPECT_EQ(waits, bothWaits);

    waits.clear();
    server.enqueue(hangUp);
    server.enqueue(200, R"({"ok":true})");
    EXPECT_TRUE(ModelClient::send(prepared(), options()));
    EXPECT_EQ(waits, std::vector<double>{0.7});

    waits.clear();
    ModelClient::Options nobodyThere = options();
    {
        const FakeProvider gone;
        nobodyThere.baseUrl = gone.baseUrl();
    }
    const auto refused = ModelClient::complete(Provider::openAI, "m", "s", turns, nobodyThere);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().description(), "Could not connect to the server.");
    EXPECT_EQ(waits, bothWaits);
}

TEST_F(ModelClientTest, BodiesThatAreNotRepliesBecomeClearErrors) {
    const std::string page = "<html><body>" + std::string(300, 'x') + "</body></html>";
    server.enqueue({200, page, "text/html"});
    EXPECT_EQ(failure(ask(Provider::openAI)), "The provider returned an empty reply.");

    server.enqueue(200, R"([{"choices":[]}])");
    EXPECT_EQ(failure(ask(Provider::openAI)), "The provider returned an empty reply.");
    server.enqueue(200, R"({"choices":"none"})");
    EXPECT_EQ(failure(ask(Provider::openAI)), "The provider returned an empty reply.");

    server.setDefault({500, page, "text/html"});
    const auto broken = ModelClient::send(prepared(), options());
    ASSERT_FALSE(broken);
    EXPECT_EQ(broken.error().description(), "500: " + page.substr(0, 240));

    server.setDefault({});
    const auto replyOf = [](std::size_t bytes) {
        const std::string text(bytes, 'w');
        return Json{{"choices", {{{"message", {{"content", text}}}}}}}.dump();
    };
    server.enqueue(200, replyOf(10'000'000));
    const auto large = ask(Provider::openAI);
    ASSERT_TRUE(large) << large.error().description();
    EXPECT_EQ(large->size(), 10'000'000u);

    // Well-formed, but past what any reply needs: not read to its end.
    server.enqueue(200, replyOf(ModelClient::maxResponseBytes));
    EXPECT_EQ(failure(ask(Provider::openAI)), "The provider returned an empty reply.");
}

// The one test that takes real seconds: a second for each of the three tries.
TEST_F(ModelClientTest, AServerThatNeverAnswersTimesOutOnEveryTry) {
    FakeProvider::Reply silent;
    silent.delaySeconds = 60;
    server.setDefault(silent);
    const auto result = ModelClient::send(prepared(1), options());
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().description(), "The request timed out.");
    EXPECT_EQ(server.requests().size(), 3u);
    EXPECT_EQ(waits, bothWaits);
}

}  // namespace
}  // namespace lumenary
