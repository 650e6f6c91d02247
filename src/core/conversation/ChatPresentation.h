#pragma once
// What the chat window shows and when, decided without a screen: which banners are up and what
// they say, how each transcript line is drawn, the caption under one of her real messages, what
// the empty conversation says, and when a draft may be sent. The window only draws these.
//
// Pure functions of their arguments (the caption also reads the machine's time zone and locale);
// callable from any thread.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/Persona.h"
#include "store/Store.h"

namespace lumenary::ChatPresentation {

inline constexpr std::string_view clearTitle = "Clear";
inline constexpr std::string_view clearHelp =
    "Clear this conversation. Her messages and voice are untouched.";
inline constexpr std::string_view herWordsOnlyTitle = "Her words only";
inline constexpr std::string_view herWordsOnlyHelp =
    "She may answer only with messages she really wrote. No generation at all.";

inline constexpr std::string_view typingIndicator = "…";

/// The window's title: her name, or "Lumenary" while she has none.
std::string windowTitle(const Persona& persona);

/// The banner shown while no provider has a key.
struct KeyBanner {
    std::string title;   // "Amma can only repeat old messages right now."
    std::string detail;  // "Add an API key and she'll talk properly, in her own voice."
    std::string button;  // "Add a key"
};

/// The banner shown while the last model request's failure stands.
struct ErrorBanner {
    std::string title;   // "Amma couldn't answer."
    std::string detail;  // the error, as the user is told it
    std::string button;  // "Settings"
};

struct Banners {
    std::optional<KeyBanner> key;
    std::optional<ErrorBanner> error;
};

/// The banners above the conversation: the key banner whenever no provider has a key (whatever
/// the conversation last did), the error banner whenever the conversation holds a last error.
/// A persona without a name is "She" in the titles.
Banners banners(const Persona& persona, bool anyKey, const std::optional<std::string>& lastError);

/// How one transcript line is drawn.
enum class BubbleKind {
    mine,     // the user's words, on the trailing side
    hers,     // a model's reply in her voice, on the leading side
    herReal,  // one of her real archive messages, green, with its date
    notice,   // the application's own line, centred and muted
};
BubbleKind bubbleKind(const Store::Turn& turn);

/// "Real message · " and the turn's real date in the abbreviated date style with short time, in
/// the user's locale and the machine's time zone; nothing for a turn without a real date.
std::optional<std::string> realMessageCaption(const Store::Turn& turn);

/// What the conversation shows before anything was said.
struct EmptyState {
    std::string title;   // "Say something to her."
    std::string detail;  // how she will answer, or how to give her an archive
};
/// `indexed` is whether the store has a retrieval index.
EmptyState emptyState(const Persona& persona, bool indexed);

/// "Message " + her name + "…" ("Message her…" while she has none).
std::string composerPlaceholder(const Persona& persona);

/// Whether the send button is enabled for `draft`: something is left once spaces and tabs are
/// trimmed from both ends. A draft of only newlines counts; sending it then does nothing.
bool canSend(std::string_view draft);

/// Whether "Clear" is enabled.
bool canClear(const std::vector<Store::Turn>& transcript);

/// Whether the conversation scrolls to its newest line after the number of turns went from
/// `before` to `after`.
bool scrollsToNewest(std::size_t before, std::size_t after);

/// The "Her words only" switch: stores the choice in the persona and saves at once.
void setHerWordsOnly(Store& store, bool on);

}  // namespace lumenary::ChatPresentation
