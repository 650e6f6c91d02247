#include "character/FaceTraits.h"

#include "common/JsonFields.h"

namespace lumenary {

void to_json(nlohmann::ordered_json& json, const FaceTraits& traits) {
    json = nlohmann::ordered_json::object();
    json["skin"] = traits.skin;
    json["skinShade"] = traits.skinShade;
    json["hair"] = traits.hair;
    json["garmentPrimary"] = traits.garmentPrimary;
    json["garmentSecondary"] = traits.garmentSecondary;
    json["longHair"] = traits.longHair;
    json["beard"] = traits.beard;
    json["wearsSari"] = traits.wearsSari;
}

void from_json(const nlohmann::ordered_json& json, FaceTraits& traits) {
    // Read into a fresh record so a failed decode leaves the caller's value untouched.
    FaceTraits read;
    read.skin = jsonfields::text(json, "skin");
    read.skinShade = jsonfields::text(json, "skinShade");
    read.hair = jsonfields::text(json, "hair");
    read.garmentPrimary = jsonfields::text(json, "garmentPrimary");
    read.garmentSecondary = jsonfields::text(json, "garmentSecondary");
    read.longHair = jsonfields::flag(json, "longHair");
    read.beard = jsonfields::flag(json, "beard");
    read.wearsSari = jsonfields::flag(json, "wearsSari");
    traits = std::move(read);
}

}  // namespace lumenary
