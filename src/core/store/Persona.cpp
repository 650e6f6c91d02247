#include "store/Persona.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include "common/JsonFields.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;

std::optional<std::map<std::string, std::string>> optionalTextMap(const Json& json,
                                                                  const char* key) {
    const auto found = json.find(key);
    if (found == json.end() || found->is_null())
        return std::nullopt;
    return jsonfields::textMap(*found, key);
}

std::optional<std::string> entry(const std::map<std::string, std::string>& map, Provider provider) {
    const auto found = map.find(std::string(rawValue(provider)));
    if (found == map.end())
        return std::nullopt;
    return found->second;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
}

}  // namespace

std::string Persona::model(Provider forProvider) const {
    return entry(models, forProvider).value_or(std::string(defaultModel(forProvider)));
}

std::string Persona::imageModel(Provider forProvider) const {
    if (imageModels) {
        if (auto chosen = entry(*imageModels, forProvider))
            return *chosen;
    }
    return std::string(defaultImageModel(forProvider));
}

std::optional<std::string> Persona::endpoint(Provider forProvider) const {
    if (!endpoints)
        return std::nullopt;
    auto url = entry(*endpoints, forProvider);
    const bool web = url && (startsWithIgnoringCase(*url, "http://") ||
                             startsWithIgnoringCase(*url, "https://"));
    if (!web)
        return std::nullopt;
    return url;
}

void to_json(nlohmann::ordered_json& json, const Persona& persona) {
    json = Json::object();
    json["name"] = persona.name;
    json["relationship"] = persona.relationship;
    json["endearments"] = persona.endearments;
    json["card"] = persona.card;
    json["fewShot"] = persona.fewShot;
    json["speaker"] = persona.speaker;
    json["stats"] = persona.stats;
    json["palette"] = persona.palette;
    json["portraitStyle"] = persona.portraitStyle;
    json["onboarded"] = persona.onboarded;
    json["provider"] = persona.provider;
    json["models"] = persona.models;
    if (persona.imageModels)
        json["imageModels"] = *persona.imageModels;
    if (persona.readPhotoWithModel)
        json["readPhotoWithModel"] = *persona.readPhotoWithModel;
    json["herWordsOnly"] = persona.herWordsOnly;
    if (persona.endpoints)
        json["endpoints"] = *persona.endpoints;
}

void from_json(const nlohmann::ordered_json& json, Persona& persona) {
    // Read into a fresh record so a failed decode leaves the caller's persona as it was.
    Persona read;
    read.name = jsonfields::text(json, "name");
    read.relationship = jsonfields::text(json, "relationship");
    read.endearments = jsonfields::texts(json, "endearments");
    read.card = jsonfields::text(json, "card");
    const Json& fewShot = jsonfields::required(json, "fewShot");
    if (!fewShot.is_array())
        throw Json::type_error::create(302, "fewShot must be an array", &fewShot);
    read.fewShot = fewShot.get<std::vector<Exchange>>();
    read.speaker = jsonfields::text(json, "speaker");
    read.stats = jsonfields::required(json, "stats").get<PersonaStats>();
    read.palette = jsonfields::required(json, "palette").get<CharacterPalette>();
    read.portraitStyle = jsonfields::required(json, "portraitStyle").get<PortraitStyle>();
    read.onboarded = jsonfields::flag(json, "onboarded");
    read.provider = jsonfields::required(json, "provider").get<Provider>();
    read.models = jsonfields::textMap(jsonfields::required(json, "models"), "models");
    read.imageModels = optionalTextMap(json, "imageModels");
    const auto photo = json.find("readPhotoWithModel");
    if (photo != json.end() && !photo->is_null())
        read.readPhotoWithModel = photo->get<bool>();
    read.herWordsOnly = jsonfields::flag(json, "herWordsOnly");
    read.endpoints = optionalTextMap(json, "endpoints");
    persona = std::move(read);
}

}  // namespace lumenary
