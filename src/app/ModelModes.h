#pragma once
// The command-line modes that reach beyond the self-test: checking the configured provider,
// asking her one question and removing the login item. Each works on the user's real data folder
// and keyring, without a display.

#include <iosfwd>
#include <optional>
#include <string>

namespace lumenary::ModelModes {

/// The line printed when no provider has a key.
inline constexpr const char* kNoKey = "No API key set. Add one in Settings.";

/// Sends `message` to the configured provider (or the first with a key) under a one-word system
/// text; prints "<Provider> · <model>", then the trimmed reply or "Failed: <why>". 0 on a reply.
int ping(const std::string& message, std::ostream& out);

/// Asks her `question` as the chat would, without adding it to the transcript; prints the reply
/// exactly as it came, or "Failed: <why>". 0 on a reply.
int ask(const std::string& question, std::ostream& out);

/// Removes the autostart entry when one is active. 0, or 1 with the reason on `err`.
int unregisterLoginItem(std::ostream& err);

/// `path` with a leading "~" replaced by the home folder.
std::string expandTilde(const std::string& path);

}  // namespace lumenary::ModelModes
