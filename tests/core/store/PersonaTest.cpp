#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "store/Persona.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;

using testing::keys;

const std::vector<std::string> kRequiredKeys = {
    "name",    "relationship",  "endearments", "card",     "fewShot", "speaker",     "stats",
    "palette", "portraitStyle", "onboarded",   "provider", "models",  "herWordsOnly"};

// A persona with every field away from its default.
Persona filledPersona() {
    Persona persona;
    persona.name = "Paati";
    persona.relationship = "Grandmother";
    persona.endearments = {"kanna", "chellam"};
    persona.card = "Short lines, no full stops.";
    persona.fewShot = {Exchange{"did you eat", ChatMessage{testing::labelledId("A"), "Paati",
                                                           "yes kanna", 1615567532}},
                       Exchange{std::nullopt, ChatMessage{testing::labelledId("B"), "Paati",
                                                          "good morning", 1615600000}}};
    persona.speaker = "Paati";
    persona.stats.messageCount = 2;
    persona.stats.firstDate = 1615567532;
    persona.palette.traits.beard = true;
    persona.palette.bindi = "#000000";
    persona.portraitStyle = PortraitStyle::cartoon;
    persona.onboarded = true;
    persona.provider = Provider::openAI;
    persona.models = {{"openAI", "gpt-5"}};
    persona.imageModels = std::map<std::string, std::string>{{"gemini", "painter"}};
    persona.readPhotoWithModel = false;
    persona.herWordsOnly = true;
    persona.endpoints = std::map<std::string, std::string>{{"openAI", "http://127.0.0.1:8080"}};
    return persona;
}

TEST(Persona, ProvidersKeepTheirStoredNamesAndDefaults) {
    std::string all;
    for (const Provider provider : allProviders) {
        all += std::string(rawValue(provider)) + "/" + std::string(displayName(provider)) + "/" +
               std::string(defaultModel(provider)) + "/" +
               std::string(defaultImageModel(provider)) + " ";
        EXPECT_EQ(Json(provider).get<Provider>(), provider);
    }
    EXPECT_EQ(all,
              "claude/Claude/claude-opus-5/ openAI/OpenAI/gpt-4o-mini/gpt-image-1 "
              "gemini/Gemini/gemini-3.6-flash/gemini-3.1-flash-image ");
    for (const Json& bad : {Json("openai"), Json("OpenAI"), Json("Claude"), Json(""), Json(0)})
        EXPECT_THROW(bad.get<Provider>(), nlohmann::json::exception) << bad.dump();
}

TEST(Persona, ModelChoiceFallsBackToTheProviderDefault) {
    Persona persona;
    EXPECT_EQ(persona.model(Provider::gemini), "gemini-3.6-flash");
    EXPECT_EQ(persona.imageModel(Provider::claude), "");
    EXPECT_EQ(persona.imageModel(Provider::openAI), "gpt-image-1");

    persona.models = {{"claude", "claude-custom"}, {"openAI", ""}, {"Gemini", "wrong case"}};
    EXPECT_EQ(persona.model(Provider::claude), "claude-custom");
    EXPECT_EQ(persona.model(Provider::openAI), "");  // an empty entry is still a choice
    EXPECT_EQ(persona.model(Provider::gemini), "gemini-3.6-flash");

    persona.imageModels = std::map<std::string, std::string>{};
    EXPECT_EQ(persona.imageModel(Provider::gemini), "gemini-3.1-flash-image");
    persona.imageModels = std::map<std::string, std::string>{{"claude", "sketcher"}};
    EXPECT_EQ(persona.imageModel(Provider::claude), "sketcher");
    EXPECT_EQ(persona.imageModel(Provider::openAI), "gpt-image-1");
}

TEST(Persona, EndpointOnlyForWebAddresses) {
    Persona persona;
    EXPECT_EQ(persona.endpoint(Provider::openAI), std::nullopt);
    persona.endpoints = std::map<std::string, std::string>{
        {"claude", "HTTPS://proxy.example/v1"},
        {"openAI", "http://127.0.0.1:8080"},
        {"gemini", "ftp://files.example"},
    };
    EXPECT_EQ(persona.endpoint(Provider::claude), "HTTPS://proxy.example/v1");
    EXPECT_EQ(persona.endpoint(Provider::openAI), "http://127.0.0.1:8080");
    EXPECT_EQ(persona.endpoint(Provider::gemini), std::nullopt);
    for (const char* bad :
         {"", "http:/x", "127.0.0.1:8080", " http://x", "httpx://x", "file:///"}) {
        persona.endpoints = std::map<std::string, std::string>{{"gemini", bad}};
        EXPECT_EQ(persona.endpoint(Provider::gemini), std::nullopt) << bad;
    }
}

TEST(Persona, JsonRoundTripsAndOmitsAbsentOptionals) {
    const Json fresh = Persona{};
    EXPECT_EQ(keys(fresh), kRequiredKeys);
    EXPECT_EQ(fresh["portraitStyle"], "cute");
    EXPECT_EQ(fresh["provider"], "claude");
    EXPECT_EQ(fresh["stats"]["hourHistogram"].size(), 24u);
    EXPECT_EQ(fresh.get<Persona>(), Persona{});

    const Persona persona = filledPersona();
    const Json json = persona;
    EXPECT_EQ(keys(json),
              (std::vector<std::string>{"name", "relationship", "endearments", "card", "fewShot",
                                        "speaker", "stats", "palette", "portraitStyle", "onboarded",
                                        "provider", "models", "imageModels", "readPhotoWithModel",
                                        "herWordsOnly", "endpoints"}));
    EXPECT_EQ(json["provider"], "openAI");
    EXPECT_EQ(json["readPhotoWithModel"], false);  // a decided "no" is kept, not dropped
    EXPECT_EQ(json["stats"]["firstDate"], "2021-03-12T16:45:32Z");
    EXPECT_EQ(json["endpoints"]["openAI"], "http://127.0.0.1:8080");
    EXPECT_EQ(Json::parse(json.dump(4)).get<Persona>(), persona);

    // A present but empty map stays present.
    Persona empty;
    empty.imageModels = std::map<std::string, std::string>{};
    empty.endpoints = std::map<std::string, std::string>{};
    const Json emptyJson = empty;
    EXPECT_EQ(emptyJson["endpoints"], Json::object());
    EXPECT_EQ(emptyJson.get<Persona>(), empty);

    // Optional keys that are missing or null read as none; unknown keys are ignored.
    Json older = json;
    older.erase("imageModels");
    older["readPhotoWithModel"] = nullptr;
    older.erase("endpoints");
    older["mood"] = "cheerful";
    const Persona read = older.get<Persona>();
    EXPECT_EQ(read.imageModels, std::nullopt);
    EXPECT_EQ(read.readPhotoWithModel, std::nullopt);
    EXPECT_EQ(read.endpoints, std::nullopt);
    EXPECT_EQ(read.models, persona.models);
}

TEST(Persona, ABadKeyFailsTheWholeDecode) {
    const Json good = filledPersona();
    for (const std::string& key : kRequiredKeys) {
        Json missing = good;
        missing.erase(key);
        EXPECT_THROW(missing.get<Persona>(), nlohmann::json::exception) << key;
        Json mistyped = good;
        mistyped[key] = 7;  // no required key holds a number
        EXPECT_THROW(mistyped.get<Persona>(), nlohmann::json::exception) << key;
    }
    const std::vector<std::pair<std::string, Json>> badValues = {
        {"portraitStyle", "sketch"},
        {"provider", "OpenAI"},
        {"endearments", Json::array({"ok", 3})},
        {"fewShot", Json::object()},
        {"models", Json::object({{"claude", 5}})},
        {"imageModels", "gpt-image-1"},
        {"imageModels", Json::object({{"openAI", nullptr}})},
        {"readPhotoWithModel", "yes"},
        {"endpoints", Json::array({"http://x"})},
    };
    for (const auto& [key, value] : badValues) {
        Json bad = good;
        bad[key] = value;
        EXPECT_THROW(bad.get<Persona>(), nlohmann::json::exception) << key << " " << value.dump();
    }
    Json badPalette = good;
    badPalette["palette"].erase("showBindi");
    EXPECT_THROW(badPalette.get<Persona>(), nlohmann::json::exception);

    Persona kept = filledPersona();
    Json badStats = good;
    badStats["stats"].erase("messageCount");
    badStats["name"] = "Someone else";
    EXPECT_THROW(from_json(badStats, kept), nlohmann::json::exception);
    EXPECT_EQ(kept, filledPersona());
}

}  // namespace
}  // namespace lumenary
