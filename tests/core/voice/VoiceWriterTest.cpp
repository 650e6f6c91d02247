#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "voice/PersonaBuilder.h"
#include "voice/VoiceWriter.h"

namespace lumenary {
namespace {

const bool kEnvironmentPinned = [] {
    return setenv("TZ", "Asia/Kolkata", 1) == 0 && setenv("LC_ALL", "en_US.UTF-8", 1) == 0;
}();

ChatMessage message(const std::string& sender, const std::string& text, Timestamp date) {
    return ChatMessage{testing::labelledId(text + std::to_string(date)), sender, text, date};
}

Exchange makeExchange(std::optional<std::string> prompt, const std::string& reply) {
    return Exchange{std::move(prompt), message("Amma", reply, 0)};
}

std::string words(int n) {
    std::string out;
    for (int i = 0; i < n; ++i)
        out += (i ? " w" : "w");
    return out;
}

TEST(VoiceWriter, SpreadTakesEvenlySpacedPositionsOldestFirst) {
    EXPECT_EQ(VoiceWriter::spread(150, 200).size(), 150u);
    EXPECT_EQ(VoiceWriter::spread(3, 2), (std::vector<std::size_t>{0, 1}));  // 1.5 truncates
    EXPECT_TRUE(VoiceWriter::spread(10, 0).empty());

    const auto positions = VoiceWriter::spread(1000, 200);
    ASSERT_EQ(positions.size(), 200u);
    for (std::size_t i = 0; i < positions.size(); ++i)
        EXPECT_EQ(positions[i], 5 * i);
}

TEST(VoiceWriter, OnlyRepliesOfTwoToSixtyWordsAreSampled) {
    const std::vector<Exchange> exchanges = {
        makeExchange("hi", "ok"),
        makeExchange("hi", words(2)),
        makeExchange(std::nullopt, words(60)),
        makeExchange("hi", words(61)),
        makeExchange("hi", "  "),
    };
    const auto sample = VoiceWriter::stratified(exchanges, 200);
    ASSERT_EQ(sample.size(), 2u);
    EXPECT_EQ(sample[0].reply.text, words(2));
    EXPECT_EQ(sample[1].reply.text, words(60));
}

TEST(VoiceWriter, UserMessageQuotesTheSampleOneLinePerMessage) {
    ASSERT_TRUE(kEnvironmentPinned);
    Persona persona;
    persona.name = "Amma";
    persona.relationship = "MOTHER";
    const std::vector<Exchange> sample = {
        makeExchange("reached\noffice", "Good kanna.\nEat something"),
        makeExchange(std::nullopt, "Call me when free")};
    const std::string card = PersonaBuilder::card("Amma", "MOTHER", persona.stats);
    EXPECT_EQ(VoiceWriter::userMessage(persona, sample),
              "The person is Amma, the user's mother.\n\nMeasured facts about their messages:\n" +
                  card +
                  "\n\nA sample of their real exchanges:\n\n"
                  "Them: reached office\nAmma: Good kanna. Eat something\n\n"
                  "Amma: Call me when free\n\n");
}

TEST(VoiceWriter, WriteAsksTheProviderThatHasAKeyAndTrimsTheDescription) {
    Persona persona;
    persona.speaker = "Amma";
    persona.provider = Provider::claude;
    persona.models = {{"gemini", "gemini-test"}};
    const std::vector<ChatMessage> archive = {message("Ravi", "reached office", 1000),
                                              message("Amma", "Good kanna eat something", 1060)};

    HttpRequest seen;
    ModelClient::Options options;
    options.key = [](Provider p) -> std::optional<std::string> {
        return p == Provider::gemini ? std::optional<std::string>("g-key") : std::nullopt;
    };
    options.sleep = [](double) {};
    options.transport = [&](const HttpRequest& request) {
        seen = request;
        return Expected<ModelClient::HttpResponse, TransportError>(ModelClient::HttpResponse{
            200, R"({"candidates":[{"content":{"parts":[{"text":"\n\n  She is brief.  \n"}]}}]})"});
    };

    const auto card = VoiceWriter::write(persona, archive, options);
    ASSERT_TRUE(card) << card.error().description();
    EXPECT_EQ(*card, "She is brief.");
    EXPECT_NE(seen.url.find("/models/gemini-test:generateContent"), std::string::npos);
    const auto body = nlohmann::json::parse(seen.body);
    EXPECT_EQ(body["systemInstruction"]["parts"][0]["text"], VoiceWriter::writerBrief);
    const std::string sent = body["contents"][0]["parts"][0]["text"];
    EXPECT_NE(sent.find("Them: reached office\nAmma: Good kanna eat something\n\n"),
              std::string::npos);
}

TEST(VoiceWriter, BriefIsTheFixedText) {
    const std::string brief = VoiceWriter::writerBrief;
    EXPECT_EQ(brief.size(), 1152u);  // bytes: two em dashes take three each
    EXPECT_EQ(brief.rfind("You are helping someone build a small app", 0), 0u);
    EXPECT_NE(brief.find("\n\nRules: write about them in the third person"), std::string::npos);
    const std::string ending = "Around 250 words total.";
    EXPECT_EQ(brief.substr(brief.size() - ending.size()), ending);
}

}  // namespace
}  // namespace lumenary
