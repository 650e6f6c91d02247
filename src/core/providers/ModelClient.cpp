#include "providers/ModelClient.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

#include "providers/Keys.h"

namespace lumenary {

std::string TransportError::description() const {
    switch (kind) {
        case Kind::timedOut:
            return "The request timed out.";
        case Kind::cannotConnect:
            return "Could not connect to the server.";
        case Kind::cannotFindHost:
            return "A server with the specified hostname could not be found.";
        case Kind::connectionLost:
            return "The network connection was lost.";
        case Kind::other:
            break;
    }
    return "The request failed: " + detail;
}

std::string ModelError::description() const {
    return std::visit([](const auto& error) { return error.description(); }, cause);
}

namespace ModelClient {

namespace {

using Json = nlohmann::ordered_json;

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

// curl_global_init is not thread-safe; a function-local static runs it exactly once even when
// the first calls come from several threads together. It is never undone: the process may
// still have calls in flight when it ends.
bool curlReady() {
    static const bool ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return ready;
}

struct Received {
    std::string body;
    bool tooLarge = false;
};

std::size_t receive(char* data, std::size_t size, std::size_t count, void* context) {
    auto* received = static_cast<Received*>(context);
    const std::size_t bytes = size * count;
    if (received->body.size() + bytes > maxResponseBytes) {
        received->tooLarge = true;
        return 0;  // anything but `bytes` makes curl abort the transfer
    }
    received->body.append(data, bytes);
    return bytes;
}

// A CR or LF inside a header (a key pasted with a line break in it) would let the value start a
// header of its own; it can never be meant, so it is dropped.
std::string headerLine(const std::string& name, const std::string& value) {
    std::string line = name + (value.empty() ? ";" : ": " + value);  // "Name;" sends it empty
    std::erase_if(line, [](char c) { return c == '\r' || c == '\n'; });
    return line;
}

TransportError::Kind kindOf(CURLcode code) {
    switch (code) {
        case CURLE_OPERATION_TIMEDOUT:
            return TransportError::Kind::timedOut;
        case CURLE_COULDNT_CONNECT:
            return TransportError::Kind::cannotConnect;
        case CURLE_COULDNT_RESOLVE_HOST:
            return TransportError::Kind::cannotFindHost;
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_HTTP2_STREAM:  // the HTTP/2 form of a connection dropped mid-answer
            return TransportError::Kind::connectionLost;
        default:
            return TransportError::Kind::other;
    }
}

TransportError failure(CURLcode code) {
    TransportError error;
    error.kind = kindOf(code);
    // curl's fixed text for the code, never its error buffer: that one may quote the URL.
    if (error.kind == TransportError::Kind::other)
        error.detail = curl_easy_strerror(code);
    return error;
}

ModelError fromProvider(ProviderError error) {
    return ModelError{std::move(error)};
}

// One exchange, no retries.
Expected<Json, ModelError> once(const HttpRequest& request, const Transport& transport) {
    auto response = transport ? transport(request) : perform(request);
    if (!response)
        return unexpected(ModelError{response.error()});
    if (response->bodyTooLarge)
        return unexpected(fromProvider(ProviderError::empty()));
    auto json = WireFormat::readResponse(request, response->status, response->body);
    if (!json)
        return unexpected(fromProvider(json.error()));
    return std::move(*json);
}

using ReplyReader = Expected<std::string, ProviderError> (*)(const Json&);

Expected<std::string, ModelError> ask(const HttpRequest& request, ReplyReader read,
                                      const Options& options) {
    auto response = send(request, options);
    if (!response)
        return unexpected(response.error());
    auto reply = read(*response);
    if (!reply)
        return unexpected(fromProvider(reply.error()));
    return std::move(*reply);
}

// Whether `result` failed with a provider error that `rule` answers with a second attempt.
bool failedSo(const Expected<std::string, ModelError>& result, bool (*rule)(const ProviderError&)) {
    if (result)
        return false;
    const auto* error = std::get_if<ProviderError>(&result.error().cause);
    return error && rule(*error);
}

Expected<std::string, ModelError> gemini(std::string_view key, std::string_view model,
                                         std::string_view system,
                                         const std::vector<ChatTurn>& turns, bool quietly,
                                         const Options& options) {
    auto request = WireFormat::geminiRequest(key, model, system, turns, quietly, options.baseUrl);
    if (!request)
        return unexpected(fromProvider(request.error()));
    return ask(*request, WireFormat::geminiReply, options);
}

}  // namespace

Expected<HttpResponse, TransportError> perform(const HttpRequest& request) {
    if (!curlReady())
        return unexpected(failure(CURLE_FAILED_INIT));
    const std::unique_ptr<CURL, EasyDeleter> easy(curl_easy_init());
    if (!easy)
        return unexpected(failure(CURLE_FAILED_INIT));
    CURL* handle = easy.get();

    std::unique_ptr<curl_slist, ListDeleter> headers;
    auto addHeader = [&](const std::string& line) {
        curl_slist* grown = curl_slist_append(headers.get(), line.c_str());
        if (grown) {
            (void)headers.release();
            headers.reset(grown);
        }
        return grown != nullptr;
    };
    for (const auto& [name, value] : request.headers)
        if (!addHeader(headerLine(name, value)))
            return unexpected(failure(CURLE_OUT_OF_MEMORY));
    // curl would otherwise hold a large body back for up to a second waiting for
    // "100 Continue", which none of the providers needs.
    if (!addHeader("Expect:"))
        return unexpected(failure(CURLE_OUT_OF_MEMORY));

    Received received;
    curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    // Signals cannot reach the right thread when calls run on worker threads; without this a
    // time-out during name resolution could take the whole process down.
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // Zero would mean "no time-out" to curl; a request always gets at least a second.
    curl_easy_setopt(handle, CURLOPT_TIMEOUT,
                     static_cast<long>(std::max(1, request.timeoutSeconds)));
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
    if (request.method == "GET") {
        curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
    } else {
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.data());
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body.size()));
        if (request.method != "POST")
            curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");  // whatever curl can decode
    // A body announced as too large is refused before any of it arrives; one that is not
    // announced is stopped by `receive` once it passes the limit.
    curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(maxResponseBytes));
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &received);

    const CURLcode code = curl_easy_perform(handle);
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    if (received.tooLarge || code == CURLE_FILESIZE_EXCEEDED) {
        HttpResponse response;
        response.status = static_cast<int>(status);
        response.bodyTooLarge = true;
        return response;
    }
    if (code != CURLE_OK)
        return unexpected(failure(code));
    return HttpResponse{static_cast<int>(status), std::move(received.body), false};
}

bool worthRetrying(const ModelError& error) {
    if (const auto* transport = std::get_if<TransportError>(&error.cause))
        return transport->kind != TransportError::Kind::other;
    const auto& provider = std::get<ProviderError>(error.cause);
    return provider.kind == ProviderError::Kind::http && provider.status >= 500 &&
           provider.status <= 599;
}

Expected<Json, ModelError> send(const HttpRequest& request, const Options& options) {
    constexpr int attempts = 3;
    constexpr double waitStep = 0.7;  // seconds; the second wait is twice the first
    for (int attempt = 0;; ++attempt) {
        auto result = once(request, options.transport);
        if (result || attempt == attempts - 1 || !worthRetrying(result.error()))
            return result;
        const double seconds = (attempt + 1) * waitStep;
        if (options.sleep)
            options.sleep(seconds);
        else
            std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
}

Expected<std::string, ModelError> complete(Provider provider, std::string_view model,
                                           std::string_view system,
                                           const std::vector<ChatTurn>& turns,
                                           const Options& options) {
    const std::optional<std::string> key =
        options.key ? options.key(provider) : Keys::get(provider);
    if (!key || key->empty())
        return unexpected(fromProvider(ProviderError::noKey(provider)));

    switch (provider) {
        case Provider::claude: {
            auto reply =
                ask(WireFormat::claudeRequest(*key, model, system, turns, true, options.baseUrl),
                    WireFormat::claudeReply, options);
            if (!failedSo(reply, WireFormat::retryWithoutFallbacks))
                return reply;
            return ask(
                WireFormat::claudeRequest(*key, model, system, turns, false, options.baseUrl),
                WireFormat::claudeReply, options);
        }
        case Provider::openAI:
            return ask(WireFormat::openAIRequest(*key, model, system, turns, options.baseUrl),
                       WireFormat::openAIReply, options);
        case Provider::gemini: {
            auto reply = gemini(*key, model, system, turns, true, options);
            if (!failedSo(reply, WireFormat::retryWithoutThinkingLevel))
                return reply;
            return gemini(*key, model, system, turns, false, options);
        }
    }
    return unexpected(fromProvider(ProviderError::empty()));
}

}  // namespace ModelClient
}  // namespace lumenary
