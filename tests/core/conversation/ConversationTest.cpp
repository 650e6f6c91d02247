#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "ManualScheduler.h"
#include "TestSupport.h"
#include "conversation/Conversation.h"
#include "conversation/Guardrails.h"

namespace lumenary {
namespace {

using Speaker = Store::Turn::Speaker;
using testing::ManualScheduler;
using testing::TemporaryFolder;

constexpr Timestamp kDay = 86400;

std::vector<ChatMessage> archive() {
    std::vector<ChatMessage> messages;
    Timestamp date = 1'600'000'000;
    auto say = [&](const std::string& sender, const std::string& text) {
        messages.push_back(ChatMessage{testing::labelledId(text), sender, text, date});
        date += 120;
    };
    say("Ravi", "did you eat lunch today");
    say("Amma", "yes kanna rice and sambar");
    date += kDay;
    say("Ravi", "reached office safely");
    say("Amma", "good call me in the evening");
    return messages;
}

// A conversation over a store in a temporary folder, with keys and model replies scripted.
struct Fixture {
    TemporaryFolder folder;
    ManualScheduler scheduler;
    Store store{folder.path(), Store::Options{[](const std::string&) {}, {}}};
    CharacterAnimator animator{scheduler, [] { return 5.0; }};
    std::map<Provider, std::string> keys;
    std::vector<std::pair<Conversation::Request, std::optional<std::string>>> calls;
    std::vector<Expected<std::string, ModelError>> answers;

    Conversation::Services services() {
        Conversation::Services services;
        services.key = [this](Provider provider) -> std::optional<std::string> {
            auto found = keys.find(provider);
            return found == keys.end() ? std::nullopt : std::optional(found->second);
        };
        services.complete = [this](const Conversation::Request& request,
                                   const std::optional<std::string>& baseUrl) {
            calls.emplace_back(request, baseUrl);
            auto answer = answers.front();
            answers.erase(answers.begin());
            return answer;
        };
        return services;
    }

    void adoptArchive() { store.adopt(archive(), "Amma"); }

    // Lets the model calls in flight finish and their results arrive, without moving the clock.
    void settle() {
        scheduler.runBackground();
        scheduler.runDue();
    }

    std::vector<std::pair<Speaker, std::string>> lines() const {
        std::vector<std::pair<Speaker, std::string>> out;
        for (const auto& turn : store.transcript())
            out.emplace_back(turn.speaker, turn.text);
        return out;
    }

    // What "chat.json" holds now, decoded: every turn is saved as it is added.
    std::size_t savedTurns() const {
        const auto json =
            nlohmann::ordered_json::parse(testing::readFile(folder.path() / "chat.json"));
        return json.size();
    }
};

Expected<std::string, ModelError> fails(int status) {
    return unexpected(ModelError{ProviderError::http(status, "")});
}

TEST(Conversation, BlankTextDoesNothingAndACrisisGetsOnlyTheNotice) {
    Fixture f;
    f.adoptArchive();
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());
    conversation.send("  \n\t ");
    EXPECT_TRUE(f.store.transcript().empty());

    // No key and "Her words only" on: still the crisis notice and nothing else.
    Persona persona = f.store.persona();
    persona.herWordsOnly = true;
    f.store.setPersona(persona);
    conversation.send("  I want to DIE  ");
    using Lines = std::vector<std::pair<Speaker, std::string>>;
    EXPECT_EQ(f.lines(), (Lines{{Speaker::me, "I want to DIE"},
                                {Speaker::notice, Guardrails::crisisReply("Amma")}}));
    EXPECT_FALSE(conversation.needsKey());
    EXPECT_EQ(f.savedTurns(), 2u);
}

TEST(Conversation, WithoutAKeyHerRealWordsAnswerWithTheirDate) {
    Fixture f;
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());
    conversation.send("hello");  // no archive, no key: no answer at all
    EXPECT_EQ(f.lines().size(), 1u);
    EXPECT_TRUE(conversation.needsKey());

    f.adoptArchive();
    conversation.send("did you eat lunch?");
    const auto& turns = f.store.transcript();
    ASSERT_EQ(turns.size(), 3u);
    EXPECT_EQ(turns[2].speaker, Speaker::her);
    EXPECT_EQ(turns[2].text, "yes kanna rice and sambar");
    EXPECT_EQ(turns[2].realDate, std::optional<Timestamp>(1'600'000'120));
    EXPECT_TRUE(f.calls.empty());
}

TEST(Conversation, HerWordsOnlyAnswersFromTheArchiveOrSaysWhyNot) {
    Fixture f;
    f.keys[Provider::claude] = "k";
    Persona persona = f.store.persona();
    persona.herWordsOnly = true;
    f.store.setPersona(persona);
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());

    conversation.send("anything at all");
    EXPECT_EQ(f.lines().back(),
              std::pair(Speaker::notice, std::string("Bring our chats across and "
                                                     "I'll sound more like myself.")));
    f.adoptArchive();
    persona = f.store.persona();
    persona.herWordsOnly = true;
    f.store.setPersona(persona);
    conversation.send("quantum chromodynamics");
    EXPECT_EQ(f.lines().back(),
              std::pair(Speaker::notice,
                        std::string("I never said anything quite like that. Turn off Her words "
                                    "only and I can answer properly.")));
    conversation.send("reached the office");
    EXPECT_EQ(f.lines().back(),
              std::pair(Speaker::her, std::string("good call me in the evening")));
    EXPECT_TRUE(f.store.transcript().back().realDate.has_value());
    EXPECT_TRUE(f.calls.empty());
    EXPECT_FALSE(conversation.needsKey());
}

TEST(Conversation, ModelReplyArrivesAsABurstAtHerPaceAndEachLineIsSaved) {
    Fixture f;
    f.adoptArchive();
    Persona persona = f.store.persona();
    persona.stats.medianReplySeconds = 120;  // 1 s between lines
    persona.endpoints = std::map<std::string, std::string>{{"claude", "http://127.0.0.1:9"}};
    f.store.setPersona(persona);
    f.keys[Provider::claude] = "k";
    f.answers.push_back(std::string("one\n\n  two \t\r\nthree"));
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());

    conversation.send("did you eat");
    EXPECT_TRUE(conversation.isThinking());
    EXPECT_TRUE(f.animator.isSpeaking());
    EXPECT_EQ(f.lines().size(), 1u);

    f.scheduler.runBackground();
    ASSERT_EQ(f.calls.size(), 1u);
    EXPECT_EQ(f.calls[0].second, std::optional<std::string>("http://127.0.0.1:9"));
    f.scheduler.runDue();
    EXPECT_FALSE(conversation.isThinking());
    EXPECT_FALSE(f.animator.isSpeaking());
    EXPECT_EQ(f.lines().back().second, "one");
    EXPECT_EQ(f.savedTurns(), 2u);

    f.scheduler.advance(0.99);
    EXPECT_EQ(f.lines().size(), 2u);
    f.scheduler.advance(0.02);
    EXPECT_EQ(f.lines().back().second, "two");
    f.scheduler.advance(1.0);
    EXPECT_EQ(f.lines().back().second, "three");
    EXPECT_EQ(f.savedTurns(), 4u);
    EXPECT_FALSE(f.store.transcript().back().realDate.has_value());
}

TEST(Conversation, AFailedCallGoesToLastErrorAndNeverToTheTranscript) {
    Fixture f;
    f.keys[Provider::openAI] = "k";
    f.answers.push_back(fails(401));
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());
    conversation.send("hello");
    f.settle();
    EXPECT_EQ(conversation.lastError(),
              std::optional<std::string>("That API key was rejected. Check it in Settings. ()"));
    EXPECT_EQ(f.lines().size(), 1u);
    EXPECT_EQ(f.animator.state(), CharacterState::idle);

    conversation.send("   ");  // blank: the error stays
    EXPECT_TRUE(conversation.lastError().has_value());
    f.answers.push_back(std::string("hi"));
    conversation.send("again");
    EXPECT_FALSE(conversation.lastError().has_value());
}

TEST(Conversation, OverlappingRepliesBothArriveAndLinesMayInterleave) {
    Fixture f;
    f.keys[Provider::claude] = "k";
    f.answers.push_back(std::string("a1\na2"));
    f.answers.push_back(std::string("b1\nb2"));
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());
    conversation.send("first");
    conversation.send("second");
    EXPECT_EQ(f.scheduler.runBackground(), 2);
    // The second call saw the first message already in the history.
    EXPECT_EQ(f.calls[1].first.turns.size(), 2u);
    f.scheduler.advance(5);
    using Lines = std::vector<std::pair<Speaker, std::string>>;
    EXPECT_EQ(f.lines(), (Lines{{Speaker::me, "first"},
                                {Speaker::me, "second"},
                                {Speaker::her, "a1"},
                                {Speaker::her, "b1"},
                                {Speaker::her, "a2"},
                                {Speaker::her, "b2"}}));
    EXPECT_FALSE(conversation.isThinking());
}

TEST(Conversation, LinesStillScheduledAreDroppedOnceTheConversationIsGone) {
    Fixture f;
    f.keys[Provider::claude] = "k";
    f.answers.push_back(std::string("a\nb\nc"));
    {
        Conversation conversation(f.store, f.animator, f.scheduler, f.services());
        conversation.send("hi");
        f.settle();
    }
    f.scheduler.advance(10);
    EXPECT_EQ(f.lines().size(), 2u);  // "hi" and "a"

    // A reply that arrives after the conversation is gone is dropped too.
    f.answers.push_back(std::string("late"));
    {
        Conversation conversation(f.store, f.animator, f.scheduler, f.services());
        conversation.send("again");
    }
    f.scheduler.runBackground();
    f.scheduler.advance(10);
    EXPECT_EQ(f.lines().back().second, "again");
}

TEST(Conversation, PlanSendsTheLastEightTurnsThatAreNotNoticesToTheProviderWithAKey) {
    Fixture f;
    f.adoptArchive();
    Persona persona = f.store.persona();
    persona.provider = Provider::claude;
    persona.models = {{"gemini", "gemini-x"}};
    f.store.setPersona(persona);
    f.keys[Provider::gemini] = "g";
    for (int i = 0; i < 12; ++i) {
        const Speaker speaker = i == 3 || i == 9 ? Speaker::notice
                                : i % 2          ? Speaker::her
                                                 : Speaker::me;
        f.store.appendTurn(Store::Turn{Uuid{}, speaker, testing::numbered("t", i), std::nullopt});
    }
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());
    const auto request = conversation.plan("did you eat");
    EXPECT_EQ(request.provider, Provider::gemini);
    EXPECT_EQ(request.model, "gemini-x");
    ASSERT_EQ(request.turns.size(), 9u);  // eight from the transcript, then the new message
    EXPECT_EQ(request.turns[0].content, "t2");
    EXPECT_EQ(request.turns[7].content, "t11");
    EXPECT_EQ(request.turns[7].role, "assistant");
    EXPECT_EQ(request.turns[8].content, "did you eat");
    EXPECT_NE(request.system.find("yes kanna rice and sambar"), std::string::npos);
}

TEST(Conversation, BurstPlanSplitsTrimsCapsAndPacesTheLines) {
    EXPECT_EQ(planBurst("one\n\n  two  \nthree", 120).lines,
              (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(planBurst("one\r\ntwo\r\n", 0).lines, (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(planBurst("\n \n\t\n", 60).lines.empty());
    EXPECT_DOUBLE_EQ(planBurst("x", 30).gapSeconds, 0.35);
    EXPECT_DOUBLE_EQ(planBurst("x", 120).gapSeconds, 1.0);
    EXPECT_DOUBLE_EQ(planBurst("x", 600).gapSeconds, 1.4);
    EXPECT_DOUBLE_EQ(planBurst("x", std::nan("")).gapSeconds, 0.35);
    EXPECT_DOUBLE_EQ(planBurst("1\n2\n3\n4\n5\n6", 120).gapSeconds, 0.45);
    std::string many;
    for (int i = 0; i < 10000; ++i)
        many += testing::numbered("line ", i) + "\n";
    const auto plan = planBurst(many, 120);
    ASSERT_EQ(plan.lines.size(), 14u);
    EXPECT_EQ(plan.lines.back(), "line 13");
}

TEST(Conversation, HugeAndOddMessagesKeepTheTranscriptValid) {
    Fixture f;
    f.adoptArchive();
    f.keys[Provider::claude] = "k";
    f.answers.push_back(std::string(100000, '\n'));
    f.answers.push_back(std::string("\xF0\x9F\x99\x8F"));
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());
    conversation.send(std::string(100000, 'a'));
    conversation.send("\xF0\x9F\x98\x82\xF0\x9F\x98\x82\xF0\x9F\x99\x8F");
    f.scheduler.runBackground();
    f.scheduler.advance(5);
    EXPECT_EQ(f.lines().size(), 3u);  // the blank reply adds nothing
    EXPECT_EQ(f.savedTurns(), 3u);
    EXPECT_FALSE(conversation.lastError().has_value());
}

TEST(Conversation, ClearingEmptiesTheSavedTranscriptAndForgetsTheError) {
    Fixture f;
    f.keys[Provider::claude] = "k";
    f.answers.push_back(fails(500));
    Conversation conversation(f.store, f.animator, f.scheduler, f.services());
    conversation.send("hello");
    f.settle();
    ASSERT_TRUE(conversation.lastError().has_value());

    conversation.clear();
    EXPECT_TRUE(f.store.transcript().empty());
    EXPECT_EQ(f.savedTurns(), 0u);
    EXPECT_FALSE(conversation.lastError().has_value());
}

}  // namespace
}  // namespace lumenary
