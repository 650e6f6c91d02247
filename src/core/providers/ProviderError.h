#pragma once
// Why a model call failed; description() is the sentence the user sees in the error banner.

#include <string>
#include <string_view>

#include "providers/Provider.h"

namespace lumenary {

struct ProviderError {
    enum class Kind {
        noKey,    // no key stored for `provider`
        http,     // the server answered `status` outside 200-299 with `body`
        refused,  // Claude declined; `explanation` says why (possibly empty)
        empty,    // no usable reply: not HTTP, not a JSON object, missing fields or no text
    };
    Kind kind = Kind::empty;
    Provider provider = Provider::claude;
    int status = 0;
    std::string body;  // already decoded and cut by `http`
    std::string explanation;

    static ProviderError noKey(Provider provider);
    /// Keeps only what `keptBody` keeps of `responseBody`.
    static ProviderError http(int status, std::string_view responseBody);
    static ProviderError refused(std::string explanation);
    static ProviderError empty();

    std::string description() const;

    friend bool operator==(const ProviderError&, const ProviderError&) = default;
};

/// How much of an error response is kept: its first 240 characters when it is valid UTF-8, the
/// empty text otherwise. Error bodies can be whole HTML pages; the banner needs only the start.
std::string keptBody(std::string_view responseBody);

/// What an error body says: the "error" → "message" text of a JSON body shaped that way (the
/// shape all three providers use), otherwise the body itself.
std::string errorDetail(std::string_view body);

}  // namespace lumenary
