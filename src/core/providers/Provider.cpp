#include "providers/Provider.h"

#include <string>

namespace lumenary {

std::string_view rawValue(Provider provider) {
    switch (provider) {
        case Provider::claude:
            return "claude";
        case Provider::openAI:
            return "openAI";
        case Provider::gemini:
            return "gemini";
    }
    return "claude";
}

std::optional<Provider> providerFromRaw(std::string_view raw) {
    for (const Provider provider : allProviders) {
        if (rawValue(provider) == raw)
            return provider;
    }
    return std::nullopt;
}

std::string_view displayName(Provider provider) {
    switch (provider) {
        case Provider::claude:
            return "Claude";
        case Provider::openAI:
            return "OpenAI";
        case Provider::gemini:
            return "Gemini";
    }
    return {};
}

std::string_view defaultModel(Provider provider) {
    switch (provider) {
        case Provider::claude:
            return "claude-opus-5";
        case Provider::openAI:
            return "gpt-4o-mini";
        case Provider::gemini:
            return "gemini-3.6-flash";
    }
    return {};
}

std::string_view defaultImageModel(Provider provider) {
    switch (provider) {
        case Provider::claude:
            return "";  // Claude cannot draw; callers read empty as "no image model"
        case Provider::openAI:
            return "gpt-image-1";
        case Provider::gemini:
            return "gemini-3.1-flash-image";
    }
    return {};
}

void to_json(nlohmann::ordered_json& json, Provider provider) {
    json = std::string(rawValue(provider));
}

void from_json(const nlohmann::ordered_json& json, Provider& provider) {
    const auto& text = json.get_ref<const std::string&>();  // type_error for a non-string
    const auto found = providerFromRaw(text);
    if (!found)
        throw nlohmann::ordered_json::other_error::create(501, "unknown provider \"" + text + "\"",
                                                          &json);
    provider = *found;
}

}  // namespace lumenary
