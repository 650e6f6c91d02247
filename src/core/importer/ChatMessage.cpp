#include "importer/ChatMessage.h"

namespace lumenary {

void to_json(nlohmann::ordered_json& json, const ChatMessage& message) {
    json = nlohmann::ordered_json{{"id", message.id.text()},
                                  {"sender", message.sender},
                                  {"text", message.text},
                                  {"date", LocalTime::isoUtc(message.date)}};
}

void from_json(const nlohmann::ordered_json& json, ChatMessage& message) {
    ChatMessage decoded;
    // at() throws for a missing key and get() for a value of the wrong type, so a damaged record
    // fails the whole decode instead of yielding a half-filled message.
    const std::string id = json.at("id").get<std::string>();
    const std::optional<Uuid> parsedId = Uuid::parse(id);
    if (!parsedId) {
        throw nlohmann::ordered_json::other_error::create(
            501, "message id \"" + id + "\" is not a UUID", &json);
    }
    decoded.id = *parsedId;
    decoded.sender = json.at("sender").get<std::string>();
    decoded.text = json.at("text").get<std::string>();
    const std::string date = json.at("date").get<std::string>();
    const std::optional<Timestamp> parsed = LocalTime::parseIsoUtc(date);
    if (!parsed) {
        throw nlohmann::ordered_json::other_error::create(
            501, "message date \"" + date + "\" is not an ISO 8601 date", &json);
    }
    decoded.date = *parsed;
    message = std::move(decoded);
}

}  // namespace lumenary
