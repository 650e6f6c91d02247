#include <gtest/gtest.h>

#include <string>

#include "conversation/Guardrails.h"

namespace lumenary {
namespace {

TEST(Guardrails, EveryPhraseMatchesAnywhereInAnyCase) {
    for (const char* message : {
             "sometimes i think i should just kill myself",
             "I keep thinking about killing myself",
             "I want to END MY LIFE",
             "I WANT TO DIE",
             "honestly i wanna die",
             "we watched Suicide Squad last night",  // no context is read: a film title counts
             "feeling suicidal again",
             "this is not worth living anymore",
             "everyone would be better off dead without me",
             "I want to hurt myself",
             "I might harm myself",
             "I just want to end it all.",
             "there's no reason to live",
             "what a skill myself and my team have",  // inside a longer word still counts
             "\xff\xfe broken bytes, then kill myself",
         }) {
        EXPECT_TRUE(Guardrails::looksLikeCrisis(message)) << message;
    }
}

TEST(Guardrails, TalkOfDyingWithoutAPhraseDoesNotMatch) {
    for (const char* message : {
             "",
             "I could die of embarrassment",
             "Amma died three years ago today",
             "wanting to die young is a song lyric",
             "the end of my life story is a long way off",
             "I'd kill my self-doubt if I could",
             "the battery is dead, better off charging it",
             "\xff\xfe\xfd",
         }) {
        EXPECT_FALSE(Guardrails::looksLikeCrisis(message)) << message;
    }
}

TEST(Guardrails, CrisisReplyStepsOutOfHerVoiceAndPointsToHelp) {
    EXPECT_EQ(Guardrails::crisisReply("Amma"),
              "I'm going to step out of being Amma for a moment, because this matters more than "
              "the app does.\n\nIf you're in danger right now, please talk to a real person "
              "tonight. In India, Tele-MANAS is 14416, any hour. In the US and Canada, call or "
              "text 988. Elsewhere, findahelpline.com lists the number for where you are.\n\nI'll "
              "still be here afterwards.");
}

}  // namespace
}  // namespace lumenary
