#pragma once
// The inputs the benchmarks share: generated exports, written once to temporary files, and the
// messages parsed from them. Each is made on first use and kept for the life of the process, so
// a benchmark times only its own operation. Not thread-safe: benchmarks run one at a time.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "ExportGenerator.h"
#include "importer/ChatMessage.h"

namespace lumenary::BenchCorpus {

/// The export sizes every benchmark runs at.
inline constexpr std::size_t kHundredThousand = 100'000;
inline constexpr std::size_t kMillion = 1'000'000;

/// The generated export of `count` entries (fixed seed).
const std::string& exportText(std::size_t count, ExportGenerator::Layout layout);

/// The same export written to a temporary file, removed when the process ends normally.
const std::filesystem::path& exportFile(std::size_t count, ExportGenerator::Layout layout);

/// The bracketed export of `count` entries, parsed: the archive the voice and retrieval
/// benchmarks read, with ExportGenerator::personName as her sender name.
const std::vector<ChatMessage>& archive(std::size_t count);

/// Queries a user might type, the same on every run; the self-test's four come first.
const std::vector<std::string>& queries();

}  // namespace lumenary::BenchCorpus
