#pragma once
// Which provider a call goes to, given which providers have a key.

#include <functional>
#include <optional>
#include <string>

#include "providers/Provider.h"

namespace lumenary {

/// The stored key of a provider, if any.
using KeyLookup = std::function<std::optional<std::string>(Provider)>;

/// The first of claude, openAI, gemini for which `key` finds a key.
std::optional<Provider> firstConfigured(const KeyLookup& key);

/// `chosen` when it has a key, else the first provider that has one, else `chosen` anyway (whose
/// call then fails for want of a key).
Provider providerToCall(Provider chosen, const KeyLookup& key);

}  // namespace lumenary
