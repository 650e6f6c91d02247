#pragma once
// One API key per provider, kept in the desktop keyring (the Secret Service) or, on a machine
// where no keyring answers, in a private file readable only by the user. Every failure reads as
// "no key": a key is never reported, logged or written anywhere else.
//
// All calls are synchronous, may be made from any thread, and may block on the keyring (a locked
// collection can prompt): call them off the GUI thread, or once and cache the answer.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "providers/Provider.h"

namespace lumenary::Keys {

/// Where this machine keeps the keys.
enum class Backend {
    secretService,  // the desktop keyring: one item per provider, service "com.quorvan.lumenary",
                    // account "api-key-" + raw value
    file,           // keyFile(), mode 0600 in a folder of mode 0700
};

/// The key stored for `provider`; nothing when none is stored, it is empty, not UTF-8, or the
/// store cannot be read.
std::optional<std::string> get(Provider provider);
/// Replaces the key of `provider` with `key` trimmed of white space and newlines; an empty or
/// blank key removes it. A failure is silent and keeps nothing half-written: read back with get()
/// to learn whether the key was saved.
void set(std::string_view key, Provider provider);
/// Removes the keys of all three providers.
void removeAll();
/// The first of claude, openAI, gemini that has a key; reads the store every time.
std::optional<Provider> anyConfigured();

/// The backend the calls above use, decided once per process on first use: the keyring when a
/// Secret Service answers on the session bus within a few seconds, the file otherwise. With no
/// session bus it returns at once and never starts one.
Backend backend();
/// The private key file: "keys.json" in $XDG_CONFIG_HOME/Lumenary (~/.config/Lumenary when that
/// is unset or not absolute), read from the environment on every call. It exists only while it
/// holds a key.
std::filesystem::path keyFile();

}  // namespace lumenary::Keys
