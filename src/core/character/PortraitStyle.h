#pragma once
// The four ways the character can be shown, with the note that explains each to the user.

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace lumenary {

/// Declared in the order the style pickers list them; stored by its raw value.
enum class PortraitStyle { cute, pixel, cartoon, photo };

inline constexpr std::array<PortraitStyle, 4> allPortraitStyles = {
    PortraitStyle::cute, PortraitStyle::pixel, PortraitStyle::cartoon, PortraitStyle::photo};

/// "cute", "pixel", "cartoon" or "photo"; also the style's identity in lists.
std::string_view rawValue(PortraitStyle style);
/// The style with exactly this raw value (case-sensitive); nothing for any other text.
std::optional<PortraitStyle> portraitStyleFromRaw(std::string_view raw);
/// True for the styles that show an image made from the photo (cartoon, photo).
bool needsPhoto(PortraitStyle style);
/// The explanation shown under the style in the pickers.
std::string_view note(PortraitStyle style);

/// JSON coding as the raw value; reading throws nlohmann::json::exception for a non-string or an
/// unknown raw value.
void to_json(nlohmann::ordered_json& json, PortraitStyle style);
void from_json(const nlohmann::ordered_json& json, PortraitStyle& style);

}  // namespace lumenary
