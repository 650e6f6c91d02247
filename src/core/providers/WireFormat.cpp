#include "providers/WireFormat.h"

#include <algorithm>

namespace lumenary::WireFormat {

namespace {

using Json = nlohmann::ordered_json;

// The header names that carry a key, one per provider.
constexpr std::string_view credentialHeaders[] = {"x-api-key", "Authorization", "x-goog-api-key"};

std::string base(Provider provider, const std::optional<std::string>& baseUrl) {
    std::string url = baseUrl ? *baseUrl : std::string(publicHost(provider));
    while (!url.empty() && url.back() == '/')
        url.pop_back();
    return url;
}

HttpRequest post(std::string url, const Json& body) {
    HttpRequest request;
    request.method = "POST";
    request.url = std::move(url);
    request.headers.emplace_back("Content-Type", "application/json");
    // Message texts come from imported chats; a stray invalid byte must not stop the request.
    request.body = body.dump(-1, ' ', false, Json::error_handler_t::replace);
    return request;
}

std::string lowercaseAscii(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return out;
}

bool isBadRequestMentioning(const ProviderError& error,
                            std::initializer_list<std::string_view> words) {
    if (error.kind != ProviderError::Kind::http || error.status != 400)
        return false;
    const std::string body = lowercaseAscii(error.body);
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return body.find(word) != std::string::npos; });
}

// Characters a URL path may carry as they are; anything else would need escaping, which the
// model name never gets.
bool fitsInUrlPath(std::string_view s) {
    constexpr std::string_view allowed = "-._~!$&'()*+,;=:@/";
    return !s.empty() && std::all_of(s.begin(), s.end(), [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               allowed.find(c) != std::string_view::npos;
    });
}

const Json* member(const Json& object, const char* name) {
    if (!object.is_object())
        return nullptr;
    const auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
}

const Json* stringMember(const Json& object, const char* name) {
    const Json* value = member(object, name);
    return value && value->is_string() ? value : nullptr;
}

// The first element of the list at `name`, when it is a non-empty list of objects.
const Json* firstObjectOf(const Json& object, const char* name) {
    const Json* list = member(object, name);
    if (!list || !list->is_array() || list->empty())
        return nullptr;
    for (const Json& element : *list)
        if (!element.is_object())
            return nullptr;
    return &list->front();
}

Expected<std::string, ProviderError> nonEmpty(std::string text) {
    if (text.empty())
        return unexpected(ProviderError::empty());
    return text;
}

}  // namespace

std::string_view publicHost(Provider provider) {
    switch (provider) {
        case Provider::claude:
            return "https://api.anthropic.com";
        case Provider::openAI:
            return "https://api.openai.com";
        case Provider::gemini:
            return "https://generativelanguage.googleapis.com";
    }
    return {};
}

HttpRequest claudeRequest(std::string_view key, std::string_view model, std::string_view system,
                          const std::vector<ChatTurn>& turns, bool withFallbacks,
                          const std::optional<std::string>& baseUrl) {
    Json messages = Json::array();
    for (const ChatTurn& turn : turns)
        messages.push_back({{"role", turn.role}, {"content", turn.content}});
    Json body = {
        {"model", model},
        {"max_tokens", maxOutputTokens},
        {"output_config", {{"effort", "low"}}},
        // The system prompt is long and the same on every turn of a conversation: cache it.
        {"system",
         Json::array(
             {{{"type", "text"}, {"text", system}, {"cache_control", {{"type", "ephemeral"}}}}})},
        {"messages", std::move(messages)},
    };
    if (withFallbacks)
        body["fallbacks"] = "default";
    HttpRequest request = post(base(Provider::claude, baseUrl) + "/v1/messages", body);
    request.headers.emplace_back("x-api-key", key);
    request.headers.emplace_back("anthropic-version", "2023-06-01");
    if (withFallbacks)
        request.headers.emplace_back("anthropic-beta", "server-side-fallback-2026-07-01");
    return request;
}

HttpRequest openAIRequest(std::string_view key, std::string_view model, std::string_view system,
                          const std::vector<ChatTurn>& turns,
                          const std::optional<std::string>& baseUrl) {
    Json messages = Json::array();
    messages.push_back({{"role", "system"}, {"content", system}});
    for (const ChatTurn& turn : turns)
        messages.push_back({{"role", turn.role}, {"content", turn.content}});
    const Json body = {
        {"model", model},
        {"max_completion_tokens", maxOutputTokens},
        {"messages", std::move(messages)},
    };
    HttpRequest request = post(base(Provider::openAI, baseUrl) + "/v1/chat/completions", body);
    request.headers.emplace_back("Authorization", "Bearer " + std::string(key));
    return request;
}

Expected<HttpRequest, ProviderError> geminiRequest(std::string_view key, std::string_view model,
                                                   std::string_view system,
                                                   const std::vector<ChatTurn>& turns, bool quietly,
                                                   const std::optional<std::string>& baseUrl) {
    if (!fitsInUrlPath(model))
        return unexpected(ProviderError::empty());
    Json contents = Json::array();
    for (const ChatTurn& turn : turns)
        contents.push_back({{"role", turn.role == "assistant" ? "model" : "user"},
                            {"parts", Json::array({{{"text", turn.content}}})}});
    Json generation = {{"maxOutputTokens", maxOutputTokens}, {"temperature", 0.9}};
    if (quietly)
        generation["thinkingConfig"] = {{"thinkingLevel", "minimal"}};
    const Json body = {
        {"systemInstruction", {{"parts", Json::array({{{"text", system}}})}}},
        {"contents", std::move(contents)},
        {"generationConfig", std::move(generation)},
    };
    HttpRequest request = post(base(Provider::gemini, baseUrl) + "/v1beta/models/" +
                                   std::string(model) + ":generateContent",
                               body);
    request.headers.emplace_back("x-goog-api-key", key);
    return request;
}

Expected<Json, ProviderError> readResponse(const HttpRequest& sent, int status,
                                           std::string_view body) {
    if (status < 200 || status > 299) {
        std::string shown(body);
        for (const auto& [name, value] : sent.headers) {
            if (std::find(std::begin(credentialHeaders), std::end(credentialHeaders), name) ==
                    std::end(credentialHeaders) ||
                value.empty())
                continue;
            // For "Bearer <key>" the key alone is what a server would echo.
            std::string secret = value;
            if (secret.starts_with("Bearer "))
                secret.erase(0, 7);
            if (secret.empty())
                continue;
            for (auto at = shown.find(secret); at != std::string::npos; at = shown.find(secret, at))
                shown.replace(at, secret.size(), "\u2026");
        }
        return unexpected(ProviderError::http(status, shown));
    }
    Json json = Json::parse(body, nullptr, false);
    if (!json.is_object())
        return unexpected(ProviderError::empty());
    return json;
}

Expected<std::string, ProviderError> claudeReply(const Json& response) {
    const Json* stop = stringMember(response, "stop_reason");
    if (stop && *stop == "refusal") {
        const Json* details = member(response, "stop_details");
        const Json* explanation = details ? stringMember(*details, "explanation") : nullptr;
        return unexpected(
            ProviderError::refused(explanation ? explanation->get<std::string>() : ""));
    }
    const Json* content = member(response, "content");
    if (!content || !content->is_array())
        return unexpected(ProviderError::empty());
    std::string text;
    for (const Json& block : *content) {
        if (!block.is_object())
            return unexpected(ProviderError::empty());
        const Json* type = stringMember(block, "type");
        const Json* part = stringMember(block, "text");
        if (type && *type == "text" && part)
            text += part->get_ref<const std::string&>();
    }
    return nonEmpty(std::move(text));
}

Expected<std::string, ProviderError> openAIReply(const Json& response) {
    const Json* choice = firstObjectOf(response, "choices");
    const Json* message = choice ? member(*choice, "message") : nullptr;
    const Json* content = message ? stringMember(*message, "content") : nullptr;
    if (!content)
        return unexpected(ProviderError::empty());
    return nonEmpty(content->get<std::string>());
}

Expected<std::string, ProviderError> geminiReply(const Json& response) {
    const Json* candidate = firstObjectOf(response, "candidates");
    const Json* content = candidate ? member(*candidate, "content") : nullptr;
    const Json* parts = content && content->is_object() ? member(*content, "parts") : nullptr;
    if (!parts || !parts->is_array())
        return unexpected(ProviderError::empty());
    std::string text;
    for (const Json& part : *parts) {
        if (!part.is_object())
            return unexpected(ProviderError::empty());
        if (const Json* piece = stringMember(part, "text"))
            text += piece->get_ref<const std::string&>();
    }
    return nonEmpty(std::move(text));
}

Expected<std::string, ProviderError> replyText(Provider provider, const HttpRequest& sent,
                                               int status, std::string_view body) {
    auto response = readResponse(sent, status, body);
    if (!response)
        return unexpected(response.error());
    switch (provider) {
        case Provider::claude:
            return claudeReply(*response);
        case Provider::openAI:
            return openAIReply(*response);
        case Provider::gemini:
            return geminiReply(*response);
    }
    return unexpected(ProviderError::empty());
}

bool retryWithoutFallbacks(const ProviderError& error) {
    return isBadRequestMentioning(error, {"fallback", "beta"});
}

bool retryWithoutThinkingLevel(const ProviderError& error) {
    return isBadRequestMentioning(error, {"thinking"});
}

}  // namespace lumenary::WireFormat
