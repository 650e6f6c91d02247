#include "providers/Keys.h"

#include "common/XdgPaths.h"
#include "providers/KeyFileStore.h"
#include "providers/KeyringStore.h"
#include "providers/ProviderChoice.h"
#include "text/TextRules.h"

namespace lumenary::Keys {

std::optional<std::string> get(Provider provider) {
    if (backend() == Backend::secretService)
        return KeyringStore::read(provider);
    return KeyFileStore::read(keyFile(), provider);
}

void set(std::string_view key, Provider provider) {
    const std::string_view trimmed = text::trimWhitespace(key);
    if (backend() == Backend::secretService) {
        // Delete first, in every collection: storing replaces a matching item only inside the
        // default collection, and a copy elsewhere would outlive the new key.
        KeyringStore::remove(provider);
        if (!trimmed.empty())
            KeyringStore::store(provider, trimmed);
        return;
    }
    // One rewrite of the file, so a failed write keeps the old key rather than none.
    KeyFileStore::write(keyFile(), provider, trimmed);
}

void removeAll() {
    if (backend() == Backend::secretService) {
        for (Provider provider : allProviders)
            KeyringStore::remove(provider);
        return;
    }
    KeyFileStore::removeAll(keyFile());
}

std::optional<Provider> anyConfigured() { return firstConfigured(get); }

Backend backend() {
    // A function-local static: the first caller probes, concurrent first callers wait for it.
    static const Backend chosen = KeyringStore::answers() ? Backend::secretService : Backend::file;
    return chosen;
}

std::filesystem::path keyFile() {
    return XdgPaths::configHome() / "Lumenary" / "keys.json";
}

}  // namespace lumenary::Keys
