#pragma once
// The parts of the noise test that have a fast path, exposed so that tests can hold each fast
// path to the plain rule it stands for. Internal to the importer; WhatsAppParser::isNoise is the
// public face.

#include <span>
#include <string_view>

namespace lumenary::NoiseRules {

/// `body` without white space and newlines at either end: text::trimWhitespace, with a shortcut
/// for the common body that starts and ends with something else.
std::string_view trimmedBody(std::string_view body);

/// isNoise for a body already trimmed by trimmedBody.
bool isNoiseTrimmed(std::string_view trimmed);

/// Lower-case phrases of app notices and media placeholders in every language, matched as
/// substrings (NoticeTables::phrases). The 25 English ones the importer has always read come
/// first.
std::span<const std::string_view> phrases();

/// True for an attachment line that a caption may follow on the next lines, as Android writes it:
/// a file name and "(file attached)" in any of the export languages ("IMG-20210312-WA0001.jpg
/// (file attached)", "… (Datei angehängt)"). `trimmed` as trimmedBody gives it. An attachment line
/// alone is noise (isNoiseTrimmed says so); the importer makes the caption, if any, the message.
bool isAttachmentLine(std::string_view trimmed);

/// True when `text` holds a character outside ASCII that root lower-casing changes ("Ü", "İ",
/// the Kelvin sign); only such text must be lower-cased before the rules compare it, since they
/// all ignore the case of ASCII letters.
bool lowercasingChanges(std::string_view text);

/// True when `lowered` contains one of phrases(). Same answer as searching for each in turn.
bool containsPhrase(std::string_view lowered);

/// The call-log pattern, matched case-insensitively: "Missed voice call", "Voice call, 12 min",
/// "5 minutes", "busy"... Runs ICU only for text that could match. Thread-safe.
bool isCallLog(std::string_view text);

/// The same with ICU's regular expression on every text, for tests.
bool isCallLogByRegex(std::string_view text);

/// True for the characters outside ASCII whose case folding holds an ASCII letter ("ſ" folds
/// to "s", "ﬀ" to "ff", the Kelvin sign to "k"): only they can spell the call-log words.
bool foldsToAsciiLetters(char32_t c);

}  // namespace lumenary::NoiseRules
