#include "providers/ProviderError.h"

#include <nlohmann/json.hpp>

#include "text/TextRules.h"

namespace lumenary {

namespace {

// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isValidUtf8(std::string_view s) {
    std::size_t i = 0;
    while (i < s.size()) {
        const auto lead = static_cast<unsigned char>(s[i]);
        std::size_t length = 0;
        char32_t c = 0;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
            c = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            c = lead & 0x0F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            c = lead & 0x07;
        } else {
            return false;
        }
        if (i + length > s.size())
            return false;
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(s[i + k]);
            if ((next & 0xC0) != 0x80)
                return false;
            c = (c << 6) | (next & 0x3F);
        }
        if ((length == 3 && c < 0x800) || (length == 4 && c < 0x10000) || c > 0x10FFFF ||
            (c >= 0xD800 && c <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

constexpr std::size_t keptCharacters = 240;

}  // namespace

ProviderError ProviderError::noKey(Provider provider) {
    ProviderError error;
    error.kind = Kind::noKey;
    error.provider = provider;
    return error;
}

ProviderError ProviderError::http(int status, std::string_view responseBody) {
    ProviderError error;
    error.kind = Kind::http;
    error.status = status;
    error.body = keptBody(responseBody);
    return error;
}

ProviderError ProviderError::refused(std::string explanation) {
    ProviderError error;
    error.kind = Kind::refused;
    error.explanation = std::move(explanation);
    return error;
}

ProviderError ProviderError::empty() {
    return ProviderError{};
}

std::string ProviderError::description() const {
    switch (kind) {
        case Kind::noKey:
            return "No " + std::string(displayName(provider)) +
                   " API key set. Add one in Settings.";
        case Kind::refused:
            return "The model declined to answer. " + explanation;
        case Kind::empty:
            return "The provider returned an empty reply.";
        case Kind::http:
            break;
    }
    const std::string detail = errorDetail(body);
    switch (status) {
        case 401:
        case 403:
            return "That API key was rejected. Check it in Settings. (" + detail + ")";
        case 404:
            return "That model name wasn't found. Change it in Settings. (" + detail + ")";
        case 429:
            return "Rate limited \u2014 too many requests, or a free tier used up. (" + detail +
                   ")";
        default:
            return std::to_string(status) + ": " + detail;
    }
}

std::string keptBody(std::string_view responseBody) {
    if (!isValidUtf8(responseBody))
        return {};
    // Counted in user-perceived characters, so an emoji or accented letter is never split.
    const auto characters = text::characters(responseBody);
    if (characters.size() <= keptCharacters)
        return std::string(responseBody);
    const std::string_view last = characters[keptCharacters - 1];
    return std::string(responseBody.substr(0, last.data() + last.size() - responseBody.data()));
}

std::string errorDetail(std::string_view body) {
    const auto json = nlohmann::ordered_json::parse(body, nullptr, false);
    if (json.is_object()) {
        const auto error = json.find("error");
        if (error != json.end() && error->is_object()) {
            const auto message = error->find("message");
            if (message != error->end() && message->is_string())
                return message->get<std::string>();
        }
    }
    return std::string(body);
}

}  // namespace lumenary
