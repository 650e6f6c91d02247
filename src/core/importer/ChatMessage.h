#pragma once
// One message of an imported chat archive.

#include <nlohmann/json.hpp>
#include <string>

#include "common/LocalTime.h"
#include "common/Uuid.h"

namespace lumenary {

struct ChatMessage {
    Uuid id;             // keeps its value when a continuation line is joined
    std::string sender;  // the display name as the export writes it, trimmed of spaces and tabs
    std::string text;    // never empty or only white space; lines joined with "\n"
    Timestamp date = 0;  // when it was sent, read in the machine's time zone

    friend bool operator==(const ChatMessage&, const ChatMessage&) = default;
};

/// JSON coding: an object with exactly "id" (canonical upper-case UUID text), "sender", "text" and
/// "date" (ISO 8601 UTC, whole seconds). Reading throws nlohmann::json::exception when a key is missing or of the wrong type,
/// or when the id or the date does not read.
void to_json(nlohmann::ordered_json& json, const ChatMessage& message);
void from_json(const nlohmann::ordered_json& json, ChatMessage& message);

}  // namespace lumenary
