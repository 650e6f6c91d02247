// Placeholder until the keyring and file backends land: no key is ever found.
#include "providers/Keys.h"

namespace lumenary::Keys {

std::optional<std::string> get(Provider) { return std::nullopt; }
void set(std::string_view, Provider) {}
void removeAll() {}
std::optional<Provider> anyConfigured() { return std::nullopt; }
Backend backend() { return Backend::file; }
std::filesystem::path keyFile() { return {}; }

}  // namespace lumenary::Keys
