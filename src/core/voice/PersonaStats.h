#pragma once
// The measured profile of how the person wrote, computed by PersonaBuilder::stats and kept inside
// the persona record.

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "common/LocalTime.h"

namespace lumenary {

/// The default value is the profile of someone with no messages; a new persona starts with it.
struct PersonaStats {
    long long messageCount = 0;
    double averageWords = 0;  // mean space words per message
    long long longestWords = 0;
    std::vector<std::string> topEmoji;          // one code point each, most used first, at most 6
    double emojiRate = 0;                       // share of messages holding an emoji, 0–1
    std::vector<std::string> vocatives;         // what she calls the user, at most 4
    std::vector<std::string> commonOpenings;    // lowercased first words, at most 6
    std::vector<std::string> commonClosings;    // lowercased last words, at most 5
    std::vector<std::string> signaturePhrases;  // recurring 2- and 3-word phrases, at most 8
    std::vector<std::string> topics;            // words she uses far more than the other side
    std::vector<std::string> peopleNamed;       // capitalised names, at most 6
    double questionRatio = 0;                   // share of messages containing "?"
    std::vector<std::string> scripts;           // writing systems, sorted ascending
    double noPunctuationRatio = 0;              // share without any of . ! ? ,
    std::vector<long long> hourHistogram = std::vector<long long>(24, 0);  // local hours
    double medianReplySeconds = 0;
    double averageBurst = 1.0;           // messages she sends in a row once she answers
    std::optional<Timestamp> firstDate;  // first message of the whole archive, anyone's
    std::optional<Timestamp> lastDate;   // last message of the whole archive, anyone's

    /// The lowest hour holding the largest count; 12 when the histogram is empty.
    int peakHour() const;
    /// "2016–24" (first year, en dash, last year modulo 100) in the machine's time zone; "—"
    /// when either date is absent.
    std::string yearsSpan() const;

    friend bool operator==(const PersonaStats&, const PersonaStats&) = default;
};

/// JSON coding: one key per field, in field order, dates as LocalTime::isoUtc text. "firstDate"
/// and "lastDate" are written only when present and may be missing or null on reading. Reading
/// throws nlohmann::json::exception when any other key is missing or of the wrong type, or when a
/// date is present but does not read.
void to_json(nlohmann::ordered_json& json, const PersonaStats& stats);
void from_json(const nlohmann::ordered_json& json, PersonaStats& stats);

}  // namespace lumenary
