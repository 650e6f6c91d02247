#include "providers/ProviderChoice.h"

namespace lumenary {

std::optional<Provider> firstConfigured(const KeyLookup& key) {
    for (Provider provider : allProviders) {
        if (key(provider))
            return provider;
    }
    return std::nullopt;
}

Provider providerToCall(Provider chosen, const KeyLookup& key) {
    if (key(chosen))
        return chosen;
    return firstConfigured(key).value_or(chosen);
}

}  // namespace lumenary
