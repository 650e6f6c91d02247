#pragma once
// A synthetic WhatsApp chat export for the benchmarks: a mother and her son (and now and then his
// sister) writing over seven years, with the length mix, bursts, emoji, Telugu words, multi-line
// messages and noise lines of a real family chat, so that the importer, the voice model and
// retrieval do the same work they would on a real export of that size.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lumenary::ExportGenerator {

enum class Layout {
    bracketed,  // iPhone: "[12/03/2021, 10:15:32 PM] Amma: text"
    dash,       // Android: "12/03/21, 22:15 - Amma: text"
    spanish,    // a Spanish Android phone: "28/03/2025 9:29 p. m. - Amma: text", Spanish notices
};

/// The sender whose voice the benchmarks read; she writes a little over half of the entries.
inline constexpr std::string_view personName = "Amma";

/// The text of an export with `messageCount` message entries after the encryption notice (about
/// 4% of them noise a parser drops: media placeholders, call-log lines, deletions, bare links).
/// Dates run forward from January 2016 across about seven years. The same count, layout and seed
/// always give the same bytes; a million entries are about 78 MB.
std::string generate(std::size_t messageCount, Layout layout, std::uint64_t seed);

/// `count` things a user might type to her, from two words to a dozen, in the chat's own
/// vocabulary, for search benchmarks. The same count and seed give the same queries.
std::vector<std::string> sampleQueries(std::size_t count, std::uint64_t seed);

/// "bracketed", "dash" or "spanish"; anything else gives false and leaves `layout` alone.
bool parseLayout(std::string_view name, Layout& layout);

}  // namespace lumenary::ExportGenerator
