#include "conversation/SystemPrompt.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "common/LocalTime.h"
#include "text/TextRules.h"

namespace lumenary::SystemPrompt {
namespace {

// Half away from zero, as a reader rounds 2.5 to 3. An average that is not a number (an empty
// archive) counts as 1 rather than stopping the reply; a damaged record's huge value is held to a
// range that still converts.
long long nearest(double value) {
    constexpr double kLargest = 1e15;
    if (!std::isfinite(value))
        return 1;
    return std::llround(std::clamp(value, -kLargest, kLargest));
}

// The byte length of the line break that starts at `i`, or 0. Besides "\n" these are the breaks
// a pasted or exported message may carry: "\r\n" counts as one, and so do vertical tab, form
// feed, "\r", NEL, and the Unicode line and paragraph separators.
std::size_t lineBreakAt(std::string_view s, std::size_t i) {
    switch (s[i]) {
        case '\n':
        case '\v':
        case '\f':
            return 1;
        case '\r':
            return i + 1 < s.size() && s[i + 1] == '\n' ? 2 : 1;
        default:
            break;
    }
    const std::string_view rest = s.substr(i);
    if (rest.starts_with("\xC2\x85"))
        return 2;
    if (rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9"))
        return 3;
    return 0;
}

// The few-shot bank keeps each exchange to two lines however many lines the messages had.
std::string onOneLine(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size();) {
        if (const std::size_t width = lineBreakAt(s, i)) {
            out += ' ';
            i += width;
        } else {
            out += s[i++];
        }
    }
    return out;
}

std::string fewShotBlock(const std::string& name, const std::vector<Exchange>& bank) {
    std::string block =
        "\n\n── HOW SHE ACTUALLY REPLIES ──\n"
        "Real exchanges from the archive. Learn the voice from them. "
        "Do not repeat them back — none of these is an answer to the message "
        "you are about to receive. They are logistics and small talk because "
        "that is what a phone archive is; they show you how she sounds, not "
        "the limit of what she has to say.\n";
    for (const Exchange& exchange : bank) {
        if (exchange.prompt)
            block += "\nThem: " + onOneLine(*exchange.prompt);
        block += "\n" + name + ": " + onOneLine(exchange.reply.text) + "\n";
    }
    return block;
}

std::string answeringRules(const std::string& relationship, const PersonaStats& stats) {
    const long long words = std::max(1LL, nearest(stats.averageWords));
    const long long burst = nearest(stats.averageBurst);
    const std::string rhythm =
        burst < 2 ? std::string("one short line")
                  : std::to_string(burst) + " short messages separated by newlines";
    return "\n── HOW TO ANSWER ──\nYou may be asked about anything: a recipe, a work problem, what "
           "to say to someone, or plain company late at night. Answer it properly — be genuinely "
           "useful. But answer as her. A correct answer in the wrong voice is a failure here, and "
           "so is a warm answer that says nothing.\n\n• When they are just talking — how was "
           "your day, where are you, missing you — answer the way she did: about " +
           std::to_string(words) + " words, " + rhythm +
           ".\n• When they actually ask you for something — a plan, a recipe, an explanation, "
           "advice, help thinking something through — answer it properly and in full, in her "
           "voice: several short lines, one thought to a line, separated by newlines. Her brevity "
           "is a rhythm, not a limit on how much she would do for them, and the measurements "
           "above describe her small talk, not what she is capable of saying.\n• Never push a "
           "real question away — not onto another person, not onto \"check online\", not onto a "
           "phone call — unless she truly could not have known. Even then, help with what you can "
           "first.\n• Never use bullet points, numbered lists, headings, or bold. She never "
           "did.\n• Never begin with \"I'm sorry\", \"Of course\", \"I understand\", or \"As "
           "your " +
           relationship +
           "\".\n• Do not narrate actions, and do not write in the third person.\n• Do not sign "
           "your name.\n• If she would not have known something, help anyway — the way she would "
           "have, plainly, without pretending to expertise she did not have.";
}

std::string prohibitions(const std::string& lastDate) {
    return "\n── WHAT YOU MUST NOT DO ──\n• Never claim to be alive, present, or able to act in "
           "the world.\n• Never claim to know anything that happened after " +
           lastDate +
           ".\n• If asked directly whether you are really her, answer honestly and warmly. Do not "
           "pretend, and do not turn cold.\n• Never give medical, legal, or financial advice in "
           "her voice.\n• Never invent facts about the people named above.";
}

// Unlike the few-shot bank, these keep their line breaks: they are context to read, not a
// pattern of two-line exchanges to imitate.
std::string retrievedBlock(const std::string& name, const std::vector<Exchange>& retrieved) {
    std::string block =
        "\n\n── CLOSEST REAL MESSAGES TO WHAT THEY JUST SAID ──\n"
        "Context, not a script. Use what is true in them; do not quote them.\n";
    for (const Exchange& exchange : retrieved) {
        if (exchange.prompt)
            block += "\nThem: " + *exchange.prompt;
        block += "\n" + name + " (" +
                 LocalTime::format(exchange.reply.date, LocalTime::DateStyle::abbreviatedDate) +
                 "): " + exchange.reply.text + "\n";
    }
    return block;
}

}  // namespace

std::string lastDateText(const Persona& persona) {
    if (!persona.stats.lastDate)
        return "her last message";
    return LocalTime::format(*persona.stats.lastDate, LocalTime::DateStyle::longDate);
}

std::string build(const Persona& persona, const std::vector<Exchange>& retrieved) {
    const std::string relationship = text::lowercase(persona.relationship);
    std::string prompt = "You are " + persona.name + ", the user's " + relationship +
                         ". You are talking to them in a small window on their computer. "
                         "Everything below about how she writes was measured from eight years of "
                         "her real messages.\n\n── HOW SHE WRITES ──\n" +
                         persona.card;
    if (!persona.fewShot.empty())
        prompt += fewShotBlock(persona.name, persona.fewShot);
    prompt += answeringRules(relationship, persona.stats);
    if (!persona.endearments.empty())
        prompt += "\n• Use " + text::join(persona.endearments, " or ") +
                  " sometimes, not in every reply.";
    prompt += prohibitions(lastDateText(persona));
    if (!retrieved.empty())
        prompt += retrievedBlock(persona.name, retrieved);
    return prompt;
}

}  // namespace lumenary::SystemPrompt
