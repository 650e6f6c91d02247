#include "character/CharacterPalette.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string_view>
#include <utility>

#include "common/JsonFields.h"

namespace lumenary {
namespace {

// An unsigned 64-bit number holds at most this many hexadecimal digits; more is an overflow.
constexpr std::size_t kMaxHexDigits = 16;

std::optional<std::uint64_t> readHex(std::string_view digits) {
    if (digits.empty() || digits.size() > kMaxHexDigits)
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : digits) {
        unsigned digit = 0;
        if (c >= '0' && c <= '9')
            digit = static_cast<unsigned>(c - '0');
        else if (c >= 'a' && c <= 'f')
            digit = static_cast<unsigned>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            digit = static_cast<unsigned>(c - 'A' + 10);
        else
            return std::nullopt;
        value = value * 16 + digit;
    }
    return value;
}

std::string formatHex(unsigned red, unsigned green, unsigned blue) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X", red, green, blue);
    return buffer;
}

unsigned truncatedChannel(unsigned byte, double factor) {
    const double product = std::trunc(static_cast<double>(byte) * factor);
    // Converting a NaN or an out-of-range double to an integer is undefined; such a channel is 0.
    if (!(product > static_cast<double>(std::numeric_limits<int>::min()) &&
          product < static_cast<double>(std::numeric_limits<int>::max())))
        return 0;
    // A negative product prints as its 32-bit two's complement, as the platform formatter does.
    return static_cast<unsigned>(static_cast<int>(product));
}

unsigned roundedComponent(double component) {
    const double clamped = component < 0 ? 0 : (component > 1 ? 1 : component);
    return static_cast<unsigned>(std::round(clamped * 255));
}

}  // namespace

ColourBytes parseColour(const std::string& text) {
    std::string_view rest = text;
    while (!rest.empty() && rest.front() == '#')
        rest.remove_prefix(1);
    while (!rest.empty() && rest.back() == '#')
        rest.remove_suffix(1);
    std::string digits(rest);
    if (digits.size() == 3)
        digits = {digits[0], digits[0], digits[1], digits[1], digits[2], digits[2]};
    const std::uint64_t value = readHex(digits).value_or(0);
    // Only the lowest 24 bits count, so "#80FF0000" (with an alpha byte in front) reads as red.
    return {static_cast<unsigned>((value >> 16) & 0xFF), static_cast<unsigned>((value >> 8) & 0xFF),
            static_cast<unsigned>(value & 0xFF)};
}

Colour Colour::fromHex(const std::string& text) {
    const ColourBytes bytes = parseColour(text);
    return {bytes.red / 255.0, bytes.green / 255.0, bytes.blue / 255.0, 1.0};
}

std::optional<std::string> Colour::hexString() const {
    if (!std::isfinite(red) || !std::isfinite(green) || !std::isfinite(blue))
        return std::nullopt;
    return formatHex(roundedComponent(red), roundedComponent(green), roundedComponent(blue));
}

std::string CharacterPalette::shade(const std::string& colour, double factor) {
    const ColourBytes bytes = parseColour(colour);
    return formatHex(truncatedChannel(bytes.red, factor), truncatedChannel(bytes.green, factor),
                     truncatedChannel(bytes.blue, factor));
}

void to_json(nlohmann::ordered_json& json, const CharacterPalette& palette) {
    json = nlohmann::ordered_json::object();
    json["traits"] = palette.traits;
    json["bindi"] = palette.bindi;
    json["gold"] = palette.gold;
    json["mouth"] = palette.mouth;
    json["showBindi"] = palette.showBindi;
}

void from_json(const nlohmann::ordered_json& json, CharacterPalette& palette) {
    CharacterPalette read;
    read.traits = jsonfields::required(json, "traits").get<FaceTraits>();
    read.bindi = jsonfields::text(json, "bindi");
    read.gold = jsonfields::text(json, "gold");
    read.mouth = jsonfields::text(json, "mouth");
    read.showBindi = jsonfields::flag(json, "showBindi");
    palette = std::move(read);
}

}  // namespace lumenary
