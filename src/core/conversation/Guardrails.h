#pragma once
// The check made before anything else is done with a user's message: does it read as though the
// user may be in danger? If so the application stops speaking as her and points to human help.

#include <string>
#include <string_view>

namespace lumenary::Guardrails {

/// The public directory of crisis lines by country, for everyone outside the countries whose
/// numbers the crisis reply gives. The reply names it by its domain, the way people type it.
inline constexpr std::string_view helplineDirectory = "https://findahelpline.com";

/// True when the lower-cased `text` contains any of the crisis phrases ("kill myself", "suicide",
/// "end it all", …) anywhere, even inside a longer word: a false alarm costs one notice, a missed
/// one may cost far more. Pure; any bytes are accepted.
bool looksLikeCrisis(std::string_view text);

/// The notice posted instead of her reply when `looksLikeCrisis` is true; `name` is the persona's.
std::string crisisReply(std::string_view name);

}  // namespace lumenary::Guardrails
