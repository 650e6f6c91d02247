#pragma once
// The keyring backend of Keys: one Secret Service item per provider, reached through libsecret.
// Items carry the attributes service = "com.quorvan.lumenary" and account = "api-key-" + the
// provider's raw value and are matched by those two alone, so other tools find them
// (`secret-tool lookup service com.quorvan.lumenary account api-key-claude`).
//
// Every call is synchronous and thread-safe; a keyring error is swallowed.

#include <optional>
#include <string>
#include <string_view>

#include "providers/Provider.h"

namespace lumenary::KeyringStore {

/// True when a Secret Service answers on the session bus. Never starts a bus: with neither
/// DBUS_SESSION_BUS_ADDRESS nor a socket at $XDG_RUNTIME_DIR/bus it returns false at once; a
/// service that does not reply within a few seconds counts as absent.
bool answers();

/// The key of `provider`; nothing on any error, or when it is empty or not UTF-8.
std::optional<std::string> read(Provider provider);
/// Adds `key` as a new item in the default collection, labelled "Lumenary API key (Claude)" and
/// so on. Call remove() first: an item elsewhere with the same attributes is not replaced.
void store(Provider provider, std::string_view key);
/// Deletes every item of `provider`, in any collection.
void remove(Provider provider);

}  // namespace lumenary::KeyringStore
