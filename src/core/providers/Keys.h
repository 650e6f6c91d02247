#pragma once
// One API key per provider, kept in the desktop keyring (the Secret Service) or, on a machine
// where no keyring answers, in a private file readable only by the user. Every failure reads as
// "no key": a key is never reported, logged or written anywhere else.
//
// All calls are synchronous and may block on the keyring (a locked collection can prompt): call
// them off the GUI thread, or once and cache the answer.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "providers/Provider.h"

namespace lumenary::Keys {

/// Where this machine keeps the keys.
enum class Backend {
    secretService,  // the desktop keyring
    file,           // keyFile(), mode 0600
};

/// The key stored for `provider`; nothing when none is stored, it is empty or unreadable.
std::optional<std::string> get(Provider provider);
/// Replaces the key of `provider` with `key` trimmed of white space and newlines; an empty or
/// blank key removes it.
void set(std::string_view key, Provider provider);
/// Removes the keys of all three providers.
void removeAll();
/// The first of claude, openAI, gemini that has a key.
std::optional<Provider> anyConfigured();

/// The backend the calls above use, decided on first use: the keyring when a Secret Service
/// answers on the session bus, the file otherwise.
Backend backend();
/// The private key file: "keys.json" in $XDG_CONFIG_HOME/Lumenary (~/.config/Lumenary when unset).
std::filesystem::path keyFile();

}  // namespace lumenary::Keys
