#pragma once
// The per-user base folders of the XDG Base Directory convention, read from the environment on
// every call so that a test (or a user) can point HOME and the XDG variables elsewhere. A
// variable that is unset, empty or not an absolute path is ignored, as the convention says.

#include <filesystem>

namespace lumenary::XdgPaths {

/// $HOME, or the home folder of the user database when HOME is unset.
std::filesystem::path home();
/// $XDG_CONFIG_HOME or ~/.config
std::filesystem::path configHome();
/// $XDG_DATA_HOME or ~/.local/share
std::filesystem::path dataHome();
/// $XDG_CACHE_HOME or ~/.cache
std::filesystem::path cacheHome();
/// $XDG_STATE_HOME or ~/.local/state
std::filesystem::path stateHome();

}  // namespace lumenary::XdgPaths
