#include "common/XdgPaths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace lumenary::XdgPaths {
namespace {

std::filesystem::path absoluteVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0')
        return {};
    std::filesystem::path path(value);
    return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path fromHome(const char* variable, const char* fallback) {
    std::filesystem::path path = absoluteVariable(variable);
    return path.empty() ? home() / fallback : path;
}

}  // namespace

std::filesystem::path home() {
    std::filesystem::path path = absoluteVariable("HOME");
    if (!path.empty())
        return path;
    if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
        return entry->pw_dir;
    }
    return "/";
}

std::filesystem::path configHome() {
    return fromHome("XDG_CONFIG_HOME", ".config");
}
std::filesystem::path dataHome() {
    return fromHome("XDG_DATA_HOME", ".local/share");
}
std::filesystem::path cacheHome() {
    return fromHome("XDG_CACHE_HOME", ".cache");
}
std::filesystem::path stateHome() {
    return fromHome("XDG_STATE_HOME", ".local/state");
}

}  // namespace lumenary::XdgPaths
