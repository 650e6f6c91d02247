#include "conversation/Greeting.h"

#include <cstdlib>

#include "text/TextRules.h"

namespace lumenary::Greeting {
namespace {

constexpr int kHourReach = 1;
constexpr std::size_t kFewestCharacters = 7;
constexpr std::size_t kTooManyCharacters = 60;

bool fitsTheBubble(std::string_view text) {
    // A character takes at least one byte, so a text of fewer than 7 bytes is too short and one
    // of fewer than 60 bytes cannot be too long; only the rest need their characters counted.
    if (text.size() < kFewestCharacters)
        return false;
    if (text.size() < kTooManyCharacters)
        return text::characterCount(text) >= kFewestCharacters;
    const std::size_t count = text::characterCount(text);
    return count >= kFewestCharacters && count < kTooManyCharacters;
}

}  // namespace

std::vector<const ChatMessage*> candidates(const std::vector<ChatMessage>& messages,
                                           std::string_view speaker, int hour) {
    std::vector<const ChatMessage*> found;
    for (const ChatMessage& message : messages) {
        if (message.sender != speaker)
            continue;
        if (std::abs(LocalTime::civil(message.date).hour - hour) > kHourReach)
            continue;
        if (fitsTheBubble(message.text))
            found.push_back(&message);
    }
    return found;
}

std::optional<std::string> choose(const Store& store, Timestamp now, const PickIndex& pick) {
    if (store.index() == nullptr)
        return std::nullopt;
    const std::vector<const ChatMessage*> found =
        candidates(store.messages(), store.persona().speaker, LocalTime::civil(now).hour);
    if (found.empty())
        return std::nullopt;
    const std::size_t chosen = pick(found.size());
    // A picker that strays past the end still gives a greeting rather than a crash.
    return found[chosen < found.size() ? chosen : found.size() - 1]->text;
}

}  // namespace lumenary::Greeting
