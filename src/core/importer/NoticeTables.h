#pragma once
// What WhatsApp writes in place of a message, in the languages it exports in: app notices and
// media placeholders (found anywhere in a body), call logs (the whole body) and the markers
// Android puts in parentheses after an attached file's name. Every entry is lower case; the
// noise rule compares them with the lower-cased body.
//
// Internal to the importer; NoiseRules reads them.

#include <cstddef>
#include <span>
#include <string_view>

namespace lumenary::NoticeTables {

/// Every phrase is at least this many bytes: the phrase search slides a window this long over a
/// body, and a shorter phrase would shorten every jump of every import.
inline constexpr std::size_t kShortestPhrase = 9;

/// One language's entries.
struct Language {
    std::string_view name;  // in English: "German"
    std::span<const std::string_view> phrases;
    std::span<const std::string_view> callLogs;
    std::span<const std::string_view> attachmentMarkers;
};

/// The languages, English first.
std::span<const Language> languages();

/// Phrases of notices and placeholders of every language, matched as substrings. The 25 English
/// phrases the importer has always read come first, in their order.
std::span<const std::string_view> phrases();

/// Call logs of every language, matched against the whole body, which may go on with ", " and
/// up to 30 more characters ("missed voice call, tap to call back"). Only what the English
/// call-log pattern does not read already.
std::span<const std::string_view> callLogs();

/// The words in parentheses after an attached file's name, every language ("file attached").
std::span<const std::string_view> attachmentMarkers();

}  // namespace lumenary::NoticeTables
