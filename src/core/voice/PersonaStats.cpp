#include "voice/PersonaStats.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;

// The hour reported when there is nothing to measure: the middle of the day reads least odd.
constexpr int kHourWithoutHistogram = 12;

const Json& required(const Json& json, const char* key) {
    return json.at(key);  // throws out_of_range when the key is missing
}

long long readInteger(const Json& json, const char* key) {
    const Json& value = required(json, key);
    if (!value.is_number_integer()) {
        throw Json::type_error::create(302, std::string(key) + " must be an integer", &value);
    }
    return value.get<long long>();
}

double readNumber(const Json& json, const char* key) {
    const Json& value = required(json, key);
    if (!value.is_number()) {
        throw Json::type_error::create(302, std::string(key) + " must be a number", &value);
    }
    return value.get<double>();
}

std::vector<std::string> readStrings(const Json& json, const char* key) {
    return required(json, key).get<std::vector<std::string>>();  // throws on any other type
}

std::vector<long long> readIntegers(const Json& json, const char* key) {
    const Json& value = required(json, key);
    const bool integers =
        value.is_array() && std::all_of(value.begin(), value.end(),
                                        [](const Json& item) { return item.is_number_integer(); });
    if (!integers) {
        throw Json::type_error::create(302, std::string(key) + " must be a list of integers",
                                       &value);
    }
    return value.get<std::vector<long long>>();
}

std::optional<Timestamp> readOptionalDate(const Json& json, const char* key) {
    const auto found = json.find(key);
    if (found == json.end() || found->is_null())
        return std::nullopt;
    if (!found->is_string()) {
        throw Json::type_error::create(302, std::string(key) + " must be a date text", &*found);
    }
    const std::optional<Timestamp> date = LocalTime::parseIsoUtc(found->get<std::string>());
    if (!date) {
        throw Json::other_error::create(501, std::string(key) + " is not a date", &*found);
    }
    return date;
}

}  // namespace

int PersonaStats::peakHour() const {
    if (hourHistogram.empty())
        return kHourWithoutHistogram;
    // max_element returns the first of equal maxima, so ties go to the earliest hour.
    return static_cast<int>(std::max_element(hourHistogram.begin(), hourHistogram.end()) -
                            hourHistogram.begin());
}

std::string PersonaStats::yearsSpan() const {
    if (!firstDate || !lastDate)
        return "\u2014";
    return std::to_string(LocalTime::civil(*firstDate).year) + "\u2013" +
           std::to_string(LocalTime::civil(*lastDate).year % 100);
}

void to_json(nlohmann::ordered_json& json, const PersonaStats& stats) {
    json = Json::object();
    json["messageCount"] = stats.messageCount;
    json["averageWords"] = stats.averageWords;
    json["longestWords"] = stats.longestWords;
    json["topEmoji"] = stats.topEmoji;
    json["emojiRate"] = stats.emojiRate;
    json["vocatives"] = stats.vocatives;
    json["commonOpenings"] = stats.commonOpenings;
    json["commonClosings"] = stats.commonClosings;
    json["signaturePhrases"] = stats.signaturePhrases;
    json["topics"] = stats.topics;
    json["peopleNamed"] = stats.peopleNamed;
    json["questionRatio"] = stats.questionRatio;
    json["scripts"] = stats.scripts;
    json["noPunctuationRatio"] = stats.noPunctuationRatio;
    json["hourHistogram"] = stats.hourHistogram;
    json["medianReplySeconds"] = stats.medianReplySeconds;
    json["averageBurst"] = stats.averageBurst;
    if (stats.firstDate)
        json["firstDate"] = LocalTime::isoUtc(*stats.firstDate);
    if (stats.lastDate)
        json["lastDate"] = LocalTime::isoUtc(*stats.lastDate);
}

void from_json(const nlohmann::ordered_json& json, PersonaStats& stats) {
    // Read into a fresh record so a throw part-way leaves the caller's value untouched.
    PersonaStats read;
    read.messageCount = readInteger(json, "messageCount");
    read.averageWords = readNumber(json, "averageWords");
    read.longestWords = readInteger(json, "longestWords");
    read.topEmoji = readStrings(json, "topEmoji");
    read.emojiRate = readNumber(json, "emojiRate");
    read.vocatives = readStrings(json, "vocatives");
    read.commonOpenings = readStrings(json, "commonOpenings");
    read.commonClosings = readStrings(json, "commonClosings");
    read.signaturePhrases = readStrings(json, "signaturePhrases");
    read.topics = readStrings(json, "topics");
    read.peopleNamed = readStrings(json, "peopleNamed");
    read.questionRatio = readNumber(json, "questionRatio");
    read.scripts = readStrings(json, "scripts");
    read.noPunctuationRatio = readNumber(json, "noPunctuationRatio");
    read.hourHistogram = readIntegers(json, "hourHistogram");
    read.medianReplySeconds = readNumber(json, "medianReplySeconds");
    read.averageBurst = readNumber(json, "averageBurst");
    read.firstDate = readOptionalDate(json, "firstDate");
    read.lastDate = readOptionalDate(json, "lastDate");
    stats = std::move(read);
}

}  // namespace lumenary
