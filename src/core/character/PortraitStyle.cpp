#include "character/PortraitStyle.h"

namespace lumenary {

std::string_view rawValue(PortraitStyle style) {
    switch (style) {
        case PortraitStyle::cute:
            return "cute";
        case PortraitStyle::pixel:
            return "pixel";
        case PortraitStyle::cartoon:
            return "cartoon";
        case PortraitStyle::photo:
            return "photo";
    }
    return "cute";
}

std::optional<PortraitStyle> portraitStyleFromRaw(std::string_view raw) {
    for (const PortraitStyle style : allPortraitStyles) {
        if (rawValue(style) == raw)
            return style;
    }
    return std::nullopt;
}

bool needsPhoto(PortraitStyle style) {
    return style == PortraitStyle::cartoon || style == PortraitStyle::photo;
}

std::string_view note(PortraitStyle style) {
    switch (style) {
        case PortraitStyle::cute:
            return "A drawn character, coloured from your photo — their skin, their hair, what "
                   "they "
                   "were wearing. Not a likeness; something you recognise. Blinks and talks.";
        case PortraitStyle::pixel:
            return "The same character as a sprite. Blinks and talks.";
        case PortraitStyle::cartoon:
            return "Your photo drawn as a 2D vector cartoon by an image model — their face, their "
                   "hair, their clothes, in flat colour. The closest thing to a likeness that is "
                   "still "
                   "a drawing. Needs an OpenAI or Gemini key; Claude cannot draw. Breathes.";
        case PortraitStyle::photo:
            return "Their actual face, cut out of the photo. The exact likeness, but it can only "
                   "breathe — animating a real face is uncanny.";
    }
    return {};
}

void to_json(nlohmann::ordered_json& json, PortraitStyle style) {
    json = std::string(rawValue(style));
}

void from_json(const nlohmann::ordered_json& json, PortraitStyle& style) {
    const auto& text = json.get_ref<const std::string&>();  // type_error for a non-string
    const auto found = portraitStyleFromRaw(text);
    if (!found)
        throw nlohmann::ordered_json::other_error::create(
            501, "unknown portrait style \"" + text + "\"", &json);
    style = *found;
}

}  // namespace lumenary
