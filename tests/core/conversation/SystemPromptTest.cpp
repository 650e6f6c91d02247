#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>

#include "conversation/SystemPrompt.h"

namespace lumenary {
namespace {

// Dates follow the machine's locale and zone: pin both before anything reads them.
const bool kEnvironmentPinned = [] {
    return setenv("TZ", "Asia/Kolkata", 1) == 0 && setenv("LC_ALL", "en_US.UTF-8", 1) == 0;
}();

constexpr Timestamp kMarch13 = 1615605332;  // 2021-03-13 03:15:32 UTC, 08:45 in Kolkata

Persona amma() {
    Persona persona;  // named Amma, a Mother, with no bank, no endearments and no dates
    persona.card = "She writes short messages.";
    persona.stats.averageWords = 0.4;
    return persona;
}

Exchange exchange(std::optional<std::string> prompt, std::string reply) {
    return Exchange{std::move(prompt), ChatMessage{Uuid{}, "Amma", std::move(reply), kMarch13}};
}

// The piece of `prompt` from `from` up to (not including) `to`.
std::string between(const std::string& prompt, const std::string& from, const std::string& to) {
    const std::size_t start = prompt.find(from);
    if (start == std::string::npos)
        return "<missing>";
    return prompt.substr(start, prompt.find(to, start) - start);
}

TEST(SystemPrompt, BarePersonaGivesEveryFixedPieceWordForWord) {
    ASSERT_TRUE(kEnvironmentPinned);
    EXPECT_EQ(SystemPrompt::build(amma(), {}),
              "You are Amma, the user's mother. You are talking to them in a small window on "
              "their computer. Everything below about how she writes was measured from eight years of "
              "her real messages.\n\n── HOW SHE WRITES ──\nShe writes short messages.\n── HOW TO "
              "ANSWER ──\nYou may be asked about anything: a recipe, a work problem, what to say "
              "to someone, or plain company late at night. Answer it properly — be genuinely "
              "useful. But answer as her. A correct answer in the wrong voice is a failure here, "
              "and so is a warm answer that says nothing.\n\n• When they are just talking — how "
              "was your day, where are you, missing you — answer the way she did: about 1 words, "
              "one short line.\n• When they actually ask you for something — a plan, a recipe, "
              "an explanation, advice, help thinking something through — answer it properly and "
              "in full, in her voice: several short lines, one thought to a line, separated by "
              "newlines. Her brevity is a rhythm, not a limit on how much she would do for them, "
              "and the measurements above describe her small talk, not what she is capable of "
              "saying.\n• Never push a real question away — not onto another person, not onto "
              "\"check online\", not onto a phone call — unless she truly could not have known. "
              "Even then, help with what you can first.\n• Never use bullet points, numbered "
              "lists, headings, or bold. She never did.\n• Never begin with \"I'm sorry\", \"Of "
              "course\", \"I understand\", or \"As your mother\".\n• Do not narrate actions, and "
              "do not write in the third person.\n• Do not sign your name.\n• If she would not "
              "have known something, help anyway — the way she would have, plainly, without "
              "pretending to expertise she did not have.\n── WHAT YOU MUST NOT DO ──\n• Never "
              "claim to be alive, present, or able to act in the world.\n• Never claim to know "
              "anything that happened after her last message.\n• If asked directly whether you "
              "are really her, answer honestly and warmly. Do not pretend, and do not turn "
              "cold.\n• Never give medical, legal, or financial advice in her voice.\n• Never "
              "invent facts about the people named above.");
}

TEST(SystemPrompt, FewShotBankIsFlattenedToTwoLinesPerExchange) {
    Persona persona = amma();
    persona.fewShot = {exchange("where\nare you", "at home\r\nsleeping"), exchange({}, "ok")};
    EXPECT_EQ(
        between(SystemPrompt::build(persona, {}), "She writes short messages.", "── HOW TO ANSWER"),
        "She writes short messages.\n\n── HOW SHE ACTUALLY REPLIES ──\nReal exchanges from "
        "the archive. Learn the voice from them. Do not repeat them back — none of these is "
        "an answer to the message you are about to receive. They are logistics and small "
        "talk because that is what a phone archive is; they show you how she sounds, not "
        "the limit of what she has to say.\n\nThem: where are you\nAmma: at home "
        "sleeping\n\nAmma: ok\n\n");
}

TEST(SystemPrompt, RetrievedExchangesKeepTheirLinesAndShowTheirDate) {
    const std::string prompt = SystemPrompt::build(
        amma(), {exchange("where\nare you", "at home\nsleeping"), exchange({}, "ok")});
    EXPECT_TRUE(prompt.ends_with(
        "Never invent facts about the people named above.\n\n── CLOSEST REAL MESSAGES TO WHAT "
        "THEY JUST SAID ──\nContext, not a script. Use what is true in them; do not quote "
        "them.\n\nThem: where\nare you\nAmma (Mar 13, 2021): at home\nsleeping\n\nAmma (Mar 13, "
        "2021): ok\n"))
        << prompt;
}

TEST(SystemPrompt, LengthAndBurstRoundHalfAwayFromZero) {
    auto rhythm = [](double words, double burst) {
        Persona persona = amma();
        persona.stats.averageWords = words;
        persona.stats.averageBurst = burst;
        const std::string from = "the way she did: ";
        return between(SystemPrompt::build(persona, {}), from, ".\n").substr(from.size());
    };
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(rhythm(0.2, 1), "about 1 words, one short line");
    EXPECT_EQ(rhythm(-4, 1.49), "about 1 words, one short line");
    EXPECT_EQ(rhythm(6.5, 1.5), "about 7 words, 2 short messages separated by newlines");
    EXPECT_EQ(rhythm(6.49, 2.5), "about 6 words, 3 short messages separated by newlines");
    EXPECT_EQ(rhythm(nan, nan), "about 1 words, one short line");
    EXPECT_EQ(rhythm(infinity, -infinity), "about 1 words, one short line");
}

TEST(SystemPrompt, EndearmentsRelationshipAndLastDateAreFilledIn) {
    Persona persona = amma();
    persona.relationship = "GRANDMOTHER";
    persona.endearments = {"kanna", "ra"};
    persona.stats.lastDate = kMarch13;
    EXPECT_EQ(SystemPrompt::lastDateText(persona), "March 13, 2021");
    const std::string prompt = SystemPrompt::build(persona, {});
    EXPECT_TRUE(prompt.starts_with("You are Amma, the user's grandmother. You are")) << prompt;
    EXPECT_EQ(between(prompt, "or \"As your", "── WHAT"),
              "or \"As your grandmother\".\n• Do not narrate actions, and do not write in the "
              "third person.\n• Do not sign your name.\n• If she would not have known something, "
              "help anyway — the way she would have, plainly, without pretending to expertise she "
              "did not have.\n• Use kanna or ra sometimes, not in every reply.\n");
    EXPECT_EQ(between(prompt, "Never claim to know", "\n• If"),
              "Never claim to know anything that happened after March 13, 2021.");
    EXPECT_EQ(SystemPrompt::lastDateText(amma()), "her last message");
}

}  // namespace
}  // namespace lumenary
