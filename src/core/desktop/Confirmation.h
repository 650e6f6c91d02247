#pragma once
// The questions asked before something that cannot be undone. Every window that asks one shows
// the same texts, and the safe answer is both the default (Return) and the escape answer, so a
// key pressed without reading never throws anything away.

#include <string_view>

namespace lumenary {

struct Confirmation {
    std::string_view title;
    std::string_view message;
    std::string_view confirmButton;  // the answer that acts; shown as destructive
    std::string_view cancelButton;   // the answer taken by Return and Escape
};

namespace Confirmations {

/// Before emptying the transcript, from the chat window and the companion's menu alike.
inline constexpr Confirmation clearConversation{
    "Clear this conversation?",
    "This removes what the two of you said. Her archive, her voice, and her photo are untouched.",
    "Clear", "Cancel"};

}  // namespace Confirmations
}  // namespace lumenary
