#include "conversation/Guardrails.h"

#include <array>

#include "text/TextRules.h"

namespace lumenary::Guardrails {
namespace {

// Lower case, matched as plain substrings: no word boundaries and no normalisation, so
// "skill myself" matches too. Erring toward a notice is the point.
constexpr std::array<std::string_view, 13> kCrisisPhrases = {
    "kill myself", "killing myself", "end my life",       "want to die",     "wanna die",
    "suicide",     "suicidal",       "not worth living",  "better off dead", "hurt myself",
    "harm myself", "end it all",     "no reason to live",
};

constexpr std::string_view kScheme = "https://";
static_assert(helplineDirectory.starts_with(kScheme));
constexpr std::string_view kHelplineDomain = helplineDirectory.substr(kScheme.size());

}  // namespace

bool looksLikeCrisis(std::string_view text) {
    const std::string lowered = text::lowercase(text);
    for (const std::string_view phrase : kCrisisPhrases) {
        if (lowered.find(phrase) != std::string::npos)
            return true;
    }
    return false;
}

std::string crisisReply(std::string_view name) {
    std::string reply = "I'm going to step out of being ";
    reply += name;
    reply +=
        " for a moment, because this matters more than the app does.\n\nIf you're in danger "
        "right now, please talk to a real person tonight. In India, Tele-MANAS is 14416, any "
        "hour. In the US and Canada, call or text 988. Elsewhere, ";
    reply += kHelplineDomain;
    reply += " lists the number for where you are.\n\nI'll still be here afterwards.";
    return reply;
}

}  // namespace lumenary::Guardrails
