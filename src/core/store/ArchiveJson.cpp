#include "store/ArchiveJson.h"

#include <simdjson.h>

#include <chrono>
#include <new>
#include <nlohmann/json.hpp>

#include "store/StoredFile.h"

namespace lumenary::ArchiveJson {
namespace {

namespace ondemand = simdjson::ondemand;

// Pieces handed to the writer: large enough that the per-piece cost disappears, small enough to
// stay in the cache.
constexpr std::size_t kPieceSize = 64 * 1024;

// Appends `text` as a JSON string the way nlohmann's dump writes it without ensure_ascii: only
// the quote, the backslash and control characters escaped, control characters without a short
// form as lower-case \u00xx.
void appendQuoted(std::string& out, std::string_view text) {
    if (!simdjson::validate_utf8(text.data(), text.size())) {
        // Rare: leave the replacement of broken sequences to the library the rest of the store
        // codes with, so every file says the same about the same bytes.
        out += nlohmann::ordered_json(std::string(text))
                   .dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
        return;
    }
    out += '"';
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\')
            continue;
        out.append(text, start, i - start);
        start = i + 1;
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default: {
                static constexpr char kHex[] = "0123456789abcdef";
                out += "\\u00";
                out += kHex[c >> 4];
                out += kHex[c & 0xF];
            }
        }
    }
    out.append(text, start, text.size() - start);
    out += '"';
}

int twoDigits(const char* at) {
    return (at[0] - '0') * 10 + (at[1] - '0');
}

bool allDigits(std::string_view text, std::size_t from, std::size_t count) {
    for (std::size_t i = from; i < from + count; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return false;
    }
    return true;
}

std::optional<std::vector<ChatMessage>> decodePadded(simdjson::padded_string_view json) {
    try {
        ondemand::parser parser;
        ondemand::document document = parser.iterate(json);
        ondemand::array array = document.get_array();
        std::vector<ChatMessage> messages;
        // Counting first is one quick pass over the structure, and spares the list the copies
        // that growing by doubling would leave behind.
        messages.reserve(array.count_elements());
        for (auto element : array) {
            ondemand::object object = element.get_object();
            ChatMessage message;
            unsigned seen = 0;
            for (ondemand::field field : object) {
                const std::string_view key = field.unescaped_key();
                if (key == "id") {
                    const std::optional<Uuid> id = Uuid::parse(std::string_view(field.value()));
                    if (!id)
                        return std::nullopt;
                    message.id = *id;
                    seen |= 1;
                } else if (key == "sender") {
                    message.sender = std::string_view(field.value());
                    seen |= 2;
                } else if (key == "text") {
                    message.text = std::string_view(field.value());
                    seen |= 4;
                } else if (key == "date") {
                    const std::optional<Timestamp> date =
                        readIsoUtc(std::string_view(field.value()));
                    if (!date)
                        return std::nullopt;
                    message.date = *date;
                    seen |= 8;
                }
            }
            if (seen != 15)
                return std::nullopt;
            messages.push_back(std::move(message));
        }
        // Anything but white space after the array: current_location() fails only at the end.
        if (!document.current_location().error())
            return std::nullopt;
        return messages;
    } catch (const simdjson::simdjson_error&) {
        return std::nullopt;
    }
}

}  // namespace

std::optional<std::vector<ChatMessage>> decode(std::string_view json) {
    const simdjson::padded_string padded(json);
    return decodePadded(padded);
}

Expected<std::vector<ChatMessage>, FileProblem> read(const std::filesystem::path& file) {
    simdjson::padded_string buffer;
    const auto size = readStoredFile(file, [&](std::size_t wanted) {
        buffer = simdjson::padded_string(wanted);
        if (buffer.data() == nullptr)
            throw std::bad_alloc();
        return buffer.data();
    });
    if (!size)
        return unexpected(size.error());
    auto messages = decodePadded(simdjson::padded_string_view(
        buffer.data(), *size, buffer.size() + simdjson::SIMDJSON_PADDING));
    if (!messages)
        return unexpected(FileProblem::malformed);
    return std::move(*messages);
}

void encode(const std::vector<ChatMessage>& messages,
            const std::function<void(std::string_view)>& out) {
    if (messages.empty()) {
        out("[]");
        return;
    }
    std::string piece = "[\n";
    piece.reserve(kPieceSize + 1024);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const ChatMessage& message = messages[i];
        piece += "  {\n    \"id\": \"";
        piece += message.id.text();
        piece += "\",\n    \"sender\": ";
        appendQuoted(piece, message.sender);
        piece += ",\n    \"text\": ";
        appendQuoted(piece, message.text);
        piece += ",\n    \"date\": \"";
        piece += LocalTime::isoUtc(message.date);
        piece += i + 1 < messages.size() ? "\"\n  },\n" : "\"\n  }\n]";
        if (piece.size() >= kPieceSize) {
            out(piece);
            piece.clear();
        }
    }
    out(piece);
}

std::string encode(const std::vector<ChatMessage>& messages) {
    std::string text;
    encode(messages, [&](std::string_view piece) { text += piece; });
    return text;
}

std::optional<Timestamp> readCanonicalIsoUtc(std::string_view text) {
    if (text.size() != 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' ||
        text[13] != ':' || text[16] != ':' || text[19] != 'Z' || !allDigits(text, 0, 4) ||
        !allDigits(text, 5, 2) || !allDigits(text, 8, 2) || !allDigits(text, 11, 2) ||
        !allDigits(text, 14, 2) || !allDigits(text, 17, 2)) {
        return std::nullopt;
    }
    const int year = twoDigits(text.data()) * 100 + twoDigits(text.data() + 2);
    const int month = twoDigits(text.data() + 5);
    const int day = twoDigits(text.data() + 8);
    const int hour = twoDigits(text.data() + 11);
    const int minute = twoDigits(text.data() + 14);
    const int second = twoDigits(text.data() + 17);
    const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month(month),
                                           std::chrono::day(day)};
    // A leap second (":60") is left to parseIsoUtc, which has its own rule for it.
    if (!date.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    const auto days = std::chrono::sys_days(date).time_since_epoch().count();
    return static_cast<Timestamp>(static_cast<long long>(days) * 86400 + hour * 3600 + minute * 60 +
                                  second);
}

std::optional<Timestamp> readIsoUtc(std::string_view text) {
    if (auto fast = readCanonicalIsoUtc(text))
        return fast;
    return LocalTime::parseIsoUtc(std::string(text));
}

}  // namespace lumenary::ArchiveJson
