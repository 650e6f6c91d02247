#pragma once
// Everything known about the person the user misses: who she is, how she wrote, which real
// exchanges show her voice, how her character looks and which model answers as her.

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "character/CharacterPalette.h"
#include "character/PortraitStyle.h"
#include "providers/Provider.h"
#include "voice/Exchange.h"
#include "voice/PersonaStats.h"

namespace lumenary {

/// A plain value; a default-constructed persona is the one a fresh install (or a full erase)
/// starts from.
struct Persona {
    std::string name = "Amma";
    std::string relationship = "Mother";
    std::vector<std::string> endearments;  // the names she called the user
    std::string card;                      // the voice card that goes into every prompt
    std::vector<Exchange> fewShot;         // real exchanges that go into every prompt
    std::string speaker;                   // her sender name in the archive; empty until adopted
    PersonaStats stats;
    CharacterPalette palette;
    PortraitStyle portraitStyle = PortraitStyle::cute;
    bool onboarded = false;
    Provider provider = Provider::claude;
    std::map<std::string, std::string> models;  // chat model by provider raw value
    std::optional<std::map<std::string, std::string>> imageModels;  // image model, same keys
    std::optional<bool> readPhotoWithModel;  // none: the user has not decided yet
    bool herWordsOnly = false;               // answer only with her real messages
    // Base URL by provider raw value, for a provider served from somewhere other than its usual
    // address (a local proxy or a compatible server). None means every provider's usual address.
    std::optional<std::map<std::string, std::string>> endpoints;

    /// The chat model for `provider`: the entry in `models` (even if empty), else the default.
    std::string model(Provider provider) const;
    /// The image model for `provider`: the entry in `imageModels`, else the default (empty for a
    /// provider that cannot draw).
    std::string imageModel(Provider provider) const;
    /// The base URL set for `provider`, only when it is an http or https URL (scheme in any case);
    /// nothing otherwise, so a mistyped entry falls back to the usual address instead of failing.
    std::optional<std::string> endpoint(Provider provider) const;

    friend bool operator==(const Persona&, const Persona&) = default;
};

/// JSON coding: one key per field, in field order. "imageModels", "readPhotoWithModel" and
/// "endpoints" are written only when present (a present but empty map is written as {}, so it
/// reads back present) and read as none when missing or null. Reading throws
/// nlohmann::json::exception when any other key is missing, any key has the wrong type, or the
/// portrait style or provider is not one of the raw values; unknown keys are ignored.
void to_json(nlohmann::ordered_json& json, const Persona& persona);
void from_json(const nlohmann::ordered_json& json, Persona& persona);

}  // namespace lumenary
