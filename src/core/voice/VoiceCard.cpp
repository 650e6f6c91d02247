#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <vector>

#include "common/LocalTime.h"
#include "text/TextRules.h"
#include "voice/PersonaBuilder.h"

namespace lumenary::PersonaBuilder {
namespace {

// Below these shares the habit is too weak to be worth imitating.
constexpr double kNoPunctuationThreshold = 0.4;
constexpr double kQuestionThreshold = 0.25;
// From this average on, her bursts are a habit the model should copy.
constexpr double kBurstThreshold = 1.6;
// A message longer than three times her average is rare enough to mention, capped at four times
// so a single outlier does not license long replies.
constexpr long long kRareLengthFactor = 3;
constexpr long long kRareLengthCap = 4;

constexpr std::size_t kEmojiShown = 4;
constexpr std::size_t kOpeningsShown = 4;
constexpr std::size_t kClosingsShown = 3;
constexpr std::size_t kPhrasesShown = 6;
constexpr std::size_t kTopicsShown = 8;

std::vector<std::string> firstOf(const std::vector<std::string>& items, std::size_t limit) {
    return {items.begin(),
            items.begin() + static_cast<std::ptrdiff_t>(std::min(limit, items.size()))};
}

std::vector<std::string> quoted(std::vector<std::string> items) {
    for (std::string& item : items)
        item = '"' + item + '"';
    return items;
}

// Half away from zero, as a reader rounds 12.5 to 13. A damaged stored record may hold any
// number; it is held to a range where the card's arithmetic cannot overflow.
long long rounded(double value) {
    constexpr double kLargest = 1e15;
    if (std::isnan(value))
        return 0;
    return std::llround(std::clamp(value, -kLargest, kLargest));
}

// One decimal with a full stop whatever the process locale, as "%.1f" in the C locale.
std::string oneDecimal(double value) {
    char buffer[400];  // the longest double written in full is 309 digits
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
    if (result.ec != std::errc())
        return {};
    return std::string(buffer, result.ptr);
}

std::string percent(double ratio) {
    return std::to_string(rounded(ratio * 100));
}

std::string lengthParagraph(const std::string& name, const std::string& relationship,
                            const PersonaStats& stats) {
    const long long n = rounded(stats.averageWords);
    std::string p = name + " is your " + text::lowercase(relationship) + ". " +
                    "She writes short messages \u2014 about " + std::to_string(n) + " word" +
                    (n == 1 ? "" : "s") + " each";
    if (kRareLengthFactor * n < stats.longestWords) {
        p += ", and rarely more than " +
             std::to_string(std::min(kRareLengthCap * n, stats.longestWords));
    }
    p += '.';
    if (stats.averageBurst >= kBurstThreshold) {
        p += " She sends " + oneDecimal(stats.averageBurst) + " in a row on average " +
             "rather than one long one, often repeating herself with small variations.";
    }
    return p;
}

std::string scriptParagraph(const std::vector<std::string>& scripts) {
    if (scripts == std::vector<std::string>{"Latin"}) {
        return "She writes in the Latin alphabet throughout \u2014 where that is not English, it "
               "is her own language spelled out in English letters. Match that exactly; never "
               "switch her into a native script, and never translate her into plain English.";
    }
    return "She writes in " + list(scripts) + ", mixing them within a message. Match that mix.";
}

std::string hourText(int hour) {
    if (hour == 0)
        return "midnight";
    if (hour == 12)
        return "noon";
    if (hour < 12)
        return std::to_string(hour) + " am";
    return std::to_string(hour - 12) + " pm";
}

std::string rhythmParagraph(const PersonaStats& stats) {
    std::string p = "She writes most around " + hourText(stats.peakHour()) + ".";
    if (stats.medianReplySeconds > 0) {
        const long long minutes = rounded(stats.medianReplySeconds / 60);
        p += minutes <= 1 ? std::string(" She replies almost immediately.")
                          : " She usually replies within " + std::to_string(minutes) + " minutes.";
    }
    if (stats.firstDate && stats.lastDate) {
        p += " These messages run from " +
             LocalTime::format(*stats.firstDate, LocalTime::DateStyle::monthAndYear) + " to " +
             LocalTime::format(*stats.lastDate, LocalTime::DateStyle::monthAndYear) + ".";
    }
    return p;
}

}  // namespace

std::string card(const std::string& name, const std::string& relationship,
                 const PersonaStats& stats) {
    std::vector<std::string> paragraphs;
    paragraphs.push_back(lengthParagraph(name, relationship, stats));
    if (!stats.scripts.empty())
        paragraphs.push_back(scriptParagraph(stats.scripts));
    if (!stats.vocatives.empty()) {
        paragraphs.push_back("She calls you " + list(quoted(stats.vocatives)) + ". " +
                             "It appears often but not in every message.");
    }
    if (!stats.topEmoji.empty()) {
        paragraphs.push_back("Her emoji are " +
                             text::join(firstOf(stats.topEmoji, kEmojiShown), " ") +
                             ", in roughly " + percent(stats.emojiRate) +
                             " messages in a hundred. Use only these, and no others.");
    }
    if (stats.noPunctuationRatio > kNoPunctuationThreshold) {
        paragraphs.push_back("She leaves " + percent(stats.noPunctuationRatio) +
                             "% of her messages without any full stop or comma at all.");
    }
    if (stats.questionRatio > kQuestionThreshold) {
        paragraphs.push_back("She asks a question in " + percent(stats.questionRatio) +
                             "% of her messages \u2014 she checks on you before she tells you "
                             "anything.");
    }
    if (!stats.commonOpenings.empty()) {
        paragraphs.push_back("She tends to begin with " +
                             list(quoted(firstOf(stats.commonOpenings, kOpeningsShown))) + ".");
    }
    if (!stats.commonClosings.empty()) {
        paragraphs.push_back("She tends to end on " +
                             list(quoted(firstOf(stats.commonClosings, kClosingsShown))) + ".");
    }
    if (!stats.signaturePhrases.empty()) {
        paragraphs.push_back(
            "Phrases she uses again and again: " +
            text::join(quoted(firstOf(stats.signaturePhrases, kPhrasesShown)), ", ") + ".");
    }
    if (!stats.topics.empty()) {
        paragraphs.push_back("What she actually talks about, far more than you do: " +
                             text::join(firstOf(stats.topics, kTopicsShown), ", ") + ".");
    }
    if (!stats.peopleNamed.empty()) {
        paragraphs.push_back("People she mentions: " + list(stats.peopleNamed) + ". " +
                             "You may refer to them, but never invent anything about them.");
    }
    paragraphs.push_back(rhythmParagraph(stats));
    return text::join(paragraphs, "\n\n");
}

}  // namespace lumenary::PersonaBuilder
