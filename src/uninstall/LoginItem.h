#pragma once
// Starting Lumenary when the user logs in, through the desktop's autostart folder: an entry
// "lumenary.desktop" in $XDG_CONFIG_HOME/autostart whose Exec is this program.

#include <filesystem>
#include <optional>
#include <string>

namespace lumenary::LoginItem {

enum class Status {
    notRegistered,  // no entry, or one the user switched off (Hidden=true)
    enabled,
};

/// The autostart entry's path.
std::filesystem::path entryPath();

Status status();

/// Writes (on) or removes (off) the autostart entry. Gives the reason in the user's words when
/// the change failed, nothing when it worked. Removing an entry that is not there works.
std::optional<std::string> set(bool on);

/// The entry's text for `program`, with the path quoted as desktop entries require.
std::string entryText(const std::filesystem::path& program);

}  // namespace lumenary::LoginItem
