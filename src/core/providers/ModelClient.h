#pragma once
// Sends one conversation to Claude, OpenAI or Gemini and brings back her reply, retrying what is
// worth retrying. Every call blocks until it has an answer or an error: run it off the GUI thread.
// Calls share no mutable state, so several may run at once.

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "common/Expected.h"
#include "providers/ChatTurn.h"
#include "providers/Provider.h"
#include "providers/ProviderError.h"
#include "providers/WireFormat.h"

namespace lumenary {

/// A failure below HTTP: no answer at all, or an answer cut off.
struct TransportError {
    enum class Kind { timedOut, cannotConnect, cannotFindHost, connectionLost, other };
    Kind kind = Kind::other;
    std::string detail;  // the HTTP library's own words, shown only for `other`

    std::string description() const;
    friend bool operator==(const TransportError&, const TransportError&) = default;
};

/// Why a model call failed: the provider's answer, or the network. description() is the sentence
/// the user sees in the error banner.
struct ModelError {
    std::variant<ProviderError, TransportError> cause;

    std::string description() const;
    friend bool operator==(const ModelError&, const ModelError&) = default;
};

namespace ModelClient {

/// A response body larger than this is not read to its end: no provider's reply comes near it,
/// and a misbehaving server must not be able to fill the memory.
inline constexpr std::size_t maxResponseBytes = 32u << 20;

struct HttpResponse {
    int status = 0;
    std::string body;
    bool bodyTooLarge = false;  // the body passed maxResponseBytes and was dropped: no usable reply
};

/// Performs one HTTP exchange.
using Transport = std::function<Expected<HttpResponse, TransportError>(const HttpRequest&)>;
/// Waits between attempts; interrupted waits simply end early.
using Sleeper = std::function<void(double seconds)>;
/// The stored key of a provider, if any.
using KeyLookup = std::function<std::optional<std::string>(Provider)>;

/// The HTTPS transport: libcurl, TLS verification on, the request's time-out, http and https only,
/// redirects not followed. Any status is a response; only a failure to get one is an error. Never
/// throws; safe to call from several threads at once.
Expected<HttpResponse, TransportError> perform(const HttpRequest& request);

/// What a call needs from the world; the defaults are the real keyring, clock and network.
struct Options {
    std::optional<std::string> baseUrl;  // the persona's endpoint for the provider, if any
    KeyLookup key;                       // empty: Keys::get
    Sleeper sleep;                       // empty: really sleep
    Transport transport;                 // empty: perform
};

/// Her reply to `turns` from `model` of `provider`. Fails with noKey before any network activity
/// when no key is stored. Claude is asked once more without its fallbacks, and Gemini without its
/// thinking level, when the first answer is a 400 that complains about them.
Expected<std::string, ModelError> complete(Provider provider, std::string_view model,
                                           std::string_view system,
                                           const std::vector<ChatTurn>& turns,
                                           const Options& options = {});

/// Sends a prepared request, at most three times: after a server error (5xx) or a lost, refused,
/// unresolved or timed-out connection it waits 0.7 s, then 1.4 s, and tries again. Returns the
/// response body's JSON object.
Expected<nlohmann::ordered_json, ModelError> send(const HttpRequest& request,
                                                  const Options& options = {});

/// Whether `send` tries again after `error`.
bool worthRetrying(const ModelError& error);

}  // namespace ModelClient
}  // namespace lumenary
