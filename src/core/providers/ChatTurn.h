#pragma once
// One message of a conversation as it is sent to a language model.

#include <string>

namespace lumenary {

struct ChatTurn {
    std::string role;     // "user" for the user's words, "assistant" for the person's
    std::string content;  // the message text

    friend bool operator==(const ChatTurn&, const ChatTurn&) = default;
};

}  // namespace lumenary
