#pragma once
// Writing JSON text directly, for the files written often or large enough that building
// nlohmann's document first would cost more than the writing (the archive, the transcript).

#include <string>
#include <string_view>

namespace lumenary::JsonText {

/// Appends `text` as a JSON string exactly as nlohmann's dump writes it without ensure_ascii:
/// only the quote, the backslash and control characters escaped (those without a short form as
/// lower-case \u00xx), and invalid UTF-8 replaced by U+FFFD as its replace handler does.
void appendString(std::string& out, std::string_view text);

}  // namespace lumenary::JsonText
