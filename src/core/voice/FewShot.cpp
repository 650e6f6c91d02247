#include "voice/FewShot.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "text/TextRules.h"

namespace lumenary::FewShot {
namespace {

// The pet names that mark a reply as hers; a shorter list than the vocative miner's, on purpose.
constexpr std::array<std::string_view, 9> kShortEndearments = {
    "ra", "nanna", "kanna", "bujji", "beta", "ma", "da", "chinna", "papa",
};

// Replies of one word say little about her manner, and long ones crowd the prompt.
constexpr std::size_t kFewestReplyWords = 2;
constexpr std::size_t kMostReplyWords = 40;
// Above this share of shared tokens two replies count as the same stock answer.
constexpr double kMostOverlap = 0.55;

bool isShortEndearment(std::string_view lowercaseRun) {
    return std::find(kShortEndearments.begin(), kShortEndearments.end(), lowercaseRun) !=
           kShortEndearments.end();
}

bool holdsShortEndearment(std::string_view text) {
    thread_local std::vector<std::string_view> runs;
    if (!text::isAscii(text)) {
        thread_local std::string lowered;
        text::lowercase(text, lowered);
        text::letterRuns(lowered, runs);
        return std::any_of(runs.begin(), runs.end(), isShortEndearment);
    }
    // Case turns no ASCII letter into a non-letter, so the runs of the text as written are those
    // of its lowercase; only runs as long as an endearment need lowering.
    text::letterRuns(text, runs);
    return std::any_of(runs.begin(), runs.end(), [](std::string_view run) {
        constexpr std::size_t longest = 6;  // "chinna"
        if (run.size() < 2 || run.size() > longest) {
            return false;
        }
        std::array<char, longest> lowered{};
        for (std::size_t i = 0; i < run.size() && i < longest; ++i) {
            const char c = run[i];
            lowered[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
        return isShortEndearment(std::string_view(lowered.data(), run.size()));
    });
}

double score(std::string_view reply, std::size_t replyWords, const std::string* prompt) {
    const auto words = static_cast<long long>(replyWords);
    double s = 1.0 + 0.4 * static_cast<double>(std::max(0LL, 6 - std::llabs(words - 7)));
    if (text::containsEmoji(reply))
        s += 2.0;
    if (reply.find('?') != std::string_view::npos)
        s += 1.0;
    if (holdsShortEndearment(reply))
        s += 2.5;
    if (prompt != nullptr && text::spaceWordCount(*prompt) >= 3)
        s += 1.0;
    return s;
}

std::vector<std::string> tokenSet(std::string_view text) {
    std::vector<std::string> tokens = tokenize(text);
    std::sort(tokens.begin(), tokens.end());
    tokens.erase(std::unique(tokens.begin(), tokens.end()), tokens.end());
    return tokens;
}

bool tooClose(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    if (a.empty() || b.empty())
        return false;
    std::size_t shared = 0;
    for (auto i = a.begin(), j = b.begin(); i != a.end() && j != b.end();) {
        if (*i < *j) {
            ++i;
        } else if (*j < *i) {
            ++j;
        } else {
            ++shared;
            ++i;
            ++j;
        }
    }
    return static_cast<double>(shared) / static_cast<double>(std::min(a.size(), b.size())) >
           kMostOverlap;
}

}  // namespace

std::vector<std::string> tokenize(std::string_view text) {
    std::string lowered = text::lowercase(text);
    std::vector<std::string> tokens;
    for (const std::string_view run : text::letterOrNumberRuns(lowered))
        tokens.emplace_back(run);
    return tokens;
}

double characteristicness(const Exchange& exchange) {
    return score(exchange.reply.text, text::spaceWordCount(exchange.reply.text),
                 exchange.prompt ? &*exchange.prompt : nullptr);
}

std::vector<Exchange> mine(const std::vector<ChatMessage>& messages, const std::string& speaker,
                           int limit) {
    if (limit <= 0)
        return {};

    // Work on positions in the archive: only the few chosen exchanges are ever copied.
    struct Candidate {
        ExchangePosition position;
        double score = 0;
    };
    std::vector<Candidate> candidates;
    for (const ExchangePosition& position : pairExchangePositions(messages, speaker)) {
        if (position.prompt == ExchangePosition::none)
            continue;
        const std::string& reply = messages[position.reply].text;
        const std::size_t words = text::spaceWordCount(reply);
        if (words < kFewestReplyWords || words > kMostReplyWords)
            continue;
        if (reply.find("http") != std::string::npos)
            continue;
        candidates.push_back({position, score(reply, words, &messages[position.prompt].text)});
    }

    // Candidates are taken highest score first, the earlier exchange first among equal scores (a
    // stable sort's order). The choice usually ends after a few dozen, so they come off a heap
    // instead of sorting hundreds of thousands.
    const auto later = [](const Candidate& a, const Candidate& b) {
        return a.score != b.score ? a.score < b.score : a.position.reply > b.position.reply;
    };
    std::make_heap(candidates.begin(), candidates.end(), later);

    std::vector<ExchangePosition> chosen;
    std::vector<std::vector<std::string>> chosenTokens;
    for (auto end = candidates.end(); end != candidates.begin(); --end) {
        if (chosen.size() >= static_cast<std::size_t>(limit))
            break;
        std::pop_heap(candidates.begin(), end, later);
        const Candidate& candidate = *(end - 1);
        std::vector<std::string> tokens = tokenSet(messages[candidate.position.reply].text);
        const bool repeats = std::any_of(
            chosenTokens.begin(), chosenTokens.end(),
            [&](const std::vector<std::string>& taken) { return tooClose(tokens, taken); });
        if (repeats)
            continue;
        chosen.push_back(candidate.position);
        chosenTokens.push_back(std::move(tokens));
    }

    // Oldest first; replies sent at the same moment keep their archive order.
    std::sort(chosen.begin(), chosen.end(),
              [&](const ExchangePosition& a, const ExchangePosition& b) {
                  const Timestamp left = messages[a.reply].date, right = messages[b.reply].date;
                  return left != right ? left < right : a.reply < b.reply;
              });
    std::vector<Exchange> bank;
    bank.reserve(chosen.size());
    for (const ExchangePosition& position : chosen)
        bank.push_back(exchangeAt(messages, position));
    return bank;
}

}  // namespace lumenary::FewShot
