#pragma once
// The three language-model providers the application talks to, with their stored names, display
// names and default model names.

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

namespace lumenary {

/// Declared in the order of `allProviders`; stored by its raw value.
enum class Provider { claude, openAI, gemini };

inline constexpr std::array<Provider, 3> allProviders = {Provider::claude, Provider::openAI,
                                                         Provider::gemini};

/// "claude", "openAI" or "gemini" (case-sensitive); also the provider's identity in lists and the
/// key of the persona's per-provider maps.
std::string_view rawValue(Provider provider);
/// The provider with exactly this raw value; nothing for any other text.
std::optional<Provider> providerFromRaw(std::string_view raw);
/// "Claude", "OpenAI" or "Gemini", for texts the user reads.
std::string_view displayName(Provider provider);
/// The chat model used when the persona names none for the provider.
std::string_view defaultModel(Provider provider);
/// The image model used when the persona names none; empty for a provider that cannot draw.
std::string_view defaultImageModel(Provider provider);

/// JSON coding as the raw value; reading throws nlohmann::json::exception for a non-string or an
/// unknown raw value.
void to_json(nlohmann::ordered_json& json, Provider provider);
void from_json(const nlohmann::ordered_json& json, Provider& provider);

}  // namespace lumenary
