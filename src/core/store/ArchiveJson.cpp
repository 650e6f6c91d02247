#include "store/ArchiveJson.h"

#include <simdjson.h>

#include <algorithm>
#include <chrono>
#include <new>

#include "store/JsonText.h"
#include "store/StoredFile.h"

namespace lumenary::ArchiveJson {
namespace {

namespace ondemand = simdjson::ondemand;

// Pieces handed to the writer: large enough that the per-piece cost disappears, small enough to
// stay in the cache.
constexpr std::size_t kPieceSize = 64 * 1024;

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

// Most strings of an archive hold no escape: they are read where they stand in the file, and only
// the others are unescaped by simdjson, into its own buffer. That buffer would otherwise grow to
// the size of every string in the file, more than a third of the reading's peak memory.
bool needsUnescaping(std::string_view content) {
    // Control characters need not be looked for: simdjson's first pass rejects a file with any
    // inside a string.
    return content.find('\\') != std::string_view::npos;
}

std::string_view keyOf(ondemand::field& field) {
    const char* const start = field.key().raw();
    const char* end = start;
    while (*end != '"') {
        if (*end == '\\')
            return field.unescaped_key();
        ++end;
    }
    return {start, static_cast<std::size_t>(end - start)};
}

// The text of a string value; throws simdjson_error for any other kind of value.
std::string_view textOf(ondemand::value& value) {
    // The token runs from the opening quote to the next token, spaces included.
    const std::string_view token = value.raw_json_token();
    const std::size_t close = token.find_last_of('"');
    if (token.empty() || token.front() != '"' || close == 0 || close == std::string_view::npos)
        return std::string_view(value);
    const std::string_view content = token.substr(1, close - 1);
    if (needsUnescaping(content))
        return std::string_view(value);
    return content;
}

std::optional<std::vector<ChatMessage>> decodePadded(simdjson::padded_string_view json) {
    try {
        ondemand::parser parser;
        ondemand::document document = parser.iterate(json);
        ondemand::array array = document.get_array();
        std::vector<ChatMessage> messages;
        // Counting first is one quick pass over the structure, and spares the list the copies
        // that growing by doubling would leave behind. No message takes fewer than 64 bytes of
        // the file, which bounds what a damaged file of tiny elements can make it reserve.
        messages.reserve(std::min(array.count_elements().value(), json.size() / 64));
        for (auto element : array) {
            ondemand::object object = element.get_object();
            ChatMessage message;
            unsigned seen = 0;
            for (ondemand::field field : object) {
                const std::string_view key = keyOf(field);
                if (key == "id") {
                    const std::optional<Uuid> id = Uuid::parse(textOf(field.value()));
                    if (!id)
                        return std::nullopt;
                    message.id = *id;
                    seen |= 1;
                } else if (key == "sender") {
                    message.sender = textOf(field.value());
                    seen |= 2;
                } else if (key == "text") {
                    message.text = textOf(field.value());
                    seen |= 4;
                } else if (key == "date") {
                    const std::optional<Timestamp> date = readIsoUtc(textOf(field.value()));
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
        JsonText::appendString(piece, message.sender);
        piece += ",\n    \"text\": ";
        JsonText::appendString(piece, message.text);
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
