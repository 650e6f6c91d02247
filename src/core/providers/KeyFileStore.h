#pragma once
// The file backend of Keys, for machines where no keyring answers: one JSON object mapping each
// provider's raw value to its key, pretty-printed, for example {"openAI": "sk-..."}.
//
// The file is private from its first byte: its folder is created with mode 0700, and every write
// goes to a temporary file created with mode 0600 in the same folder, flushed to disk and renamed
// over the old one, so a crash leaves the old file or the new one, never a mix. The file is
// deleted when its last entry goes.
//
// A missing, unreadable or damaged file (not JSON, not an object, oversized) holds no key. Calls
// are serialised within the process; failures are silent.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "providers/Provider.h"

namespace lumenary::KeyFileStore {

/// The key of `provider` in `file`; nothing when the entry is missing, not text, or empty.
std::optional<std::string> read(const std::filesystem::path& file, Provider provider);
/// Sets the entry of `provider` to `key`, or removes it when `key` is empty. Other entries stay
/// as they are; a damaged file is replaced, and one that exists but cannot be read is left alone.
void write(const std::filesystem::path& file, Provider provider, std::string_view key);
/// Removes the entries of all three providers.
void removeAll(const std::filesystem::path& file);

}  // namespace lumenary::KeyFileStore
