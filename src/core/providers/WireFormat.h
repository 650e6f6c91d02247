#pragma once
// The three providers' wire formats (Anthropic Messages, OpenAI Chat Completions, Gemini
// generateContent): building a request and reading its response, with no network involved.

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Expected.h"
#include "providers/ChatTurn.h"
#include "providers/Provider.h"
#include "providers/ProviderError.h"

namespace lumenary {

/// One HTTP request, ready for any client that honours a per-request time-out.
struct HttpRequest {
    std::string method;
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;  // in the order they are set
    std::string body;
    int timeoutSeconds = 60;

    friend bool operator==(const HttpRequest&, const HttpRequest&) = default;
};

namespace WireFormat {

/// Every provider's reply is capped at this many output tokens, keeping replies short and cheap.
inline constexpr int maxOutputTokens = 700;

/// The provider's public HTTPS address, without a trailing slash.
std::string_view publicHost(Provider provider);

/// `baseUrl` (a persona's endpoint for the provider) replaces the public host when given; the
/// API path is appended to it after any trailing slashes.
HttpRequest claudeRequest(std::string_view key, std::string_view model, std::string_view system,
                          const std::vector<ChatTurn>& turns, bool withFallbacks,
                          const std::optional<std::string>& baseUrl = std::nullopt);
HttpRequest openAIRequest(std::string_view key, std::string_view model, std::string_view system,
                          const std::vector<ChatTurn>& turns,
                          const std::optional<std::string>& baseUrl = std::nullopt);
/// Fails with `empty` when the model name (inserted into the URL unescaped) cannot be part of a
/// URL, so a mistyped name in Settings becomes an error banner rather than a malformed request.
Expected<HttpRequest, ProviderError> geminiRequest(
    std::string_view key, std::string_view model, std::string_view system,
    const std::vector<ChatTurn>& turns, bool quietly,
    const std::optional<std::string>& baseUrl = std::nullopt);

/// The response to `sent` as a JSON object: `http` for a status outside 200-299 (with every
/// credential header value of `sent` blanked out of the kept body, so a server echoing the key
/// never puts it on screen), `empty` for a body that is not a JSON object.
Expected<nlohmann::ordered_json, ProviderError> readResponse(const HttpRequest& sent, int status,
                                                             std::string_view body);

/// The reply text of a successful response object.
Expected<std::string, ProviderError> claudeReply(const nlohmann::ordered_json& response);
Expected<std::string, ProviderError> openAIReply(const nlohmann::ordered_json& response);
Expected<std::string, ProviderError> geminiReply(const nlohmann::ordered_json& response);

/// readResponse followed by the provider's reply reader.
Expected<std::string, ProviderError> replyText(Provider provider, const HttpRequest& sent,
                                               int status, std::string_view body);

/// Whether a Claude failure calls for one more attempt without the server-side fallbacks: a 400
/// mentioning "fallback" or "beta" in any case means the account or model does not offer them.
bool retryWithoutFallbacks(const ProviderError& error);
/// Whether a Gemini failure calls for one more attempt without "thinkingConfig": a 400
/// mentioning "thinking" in any case means the model does not take a thinking level.
bool retryWithoutThinkingLevel(const ProviderError& error);

}  // namespace WireFormat
}  // namespace lumenary
