#include "store/JsonText.h"

#include <simdjson.h>

#include <nlohmann/json.hpp>

namespace lumenary::JsonText {

void appendString(std::string& out, std::string_view text) {
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

}  // namespace lumenary::JsonText
