// Reading an export: the parser on text already in memory, and the importer from a file on disk
// (read, decode, parse, count senders). Target: a million messages in half a second.

#include <benchmark/benchmark.h>

#include "BenchCorpus.h"
#include "importer/ArchiveImporter.h"
#include "importer/WhatsAppParser.h"

namespace lumenary {
namespace {

using ExportGenerator::Layout;

Layout layoutOf(const benchmark::State& state) {
    return state.range(1) == 0 ? Layout::bracketed : Layout::dash;
}

void WhatsAppParserParse(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::string& text = BenchCorpus::exportText(count, layoutOf(state));
    std::size_t parsed = 0;
    for (auto _ : state) {
        const std::vector<ChatMessage> messages = WhatsAppParser::parse(text);
        parsed = messages.size();
        benchmark::DoNotOptimize(messages.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    state.counters["messages"] = static_cast<double>(parsed);
}

void ArchiveImporterLoad(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::filesystem::path& file = BenchCorpus::exportFile(count, layoutOf(state));
    std::size_t parsed = 0;
    for (auto _ : state) {
        auto imported = ArchiveImporter::load(file);
        if (!imported) {
            state.SkipWithError("the generated export did not import");
            break;
        }
        parsed = imported->messages.size();
        benchmark::DoNotOptimize(imported->messages.data());
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(std::filesystem::file_size(file)));
    state.counters["messages"] = static_cast<double>(parsed);
}

// Arguments: entries in the export, then the layout (0 bracketed, 1 dash).
void sizesAndLayouts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"messages", "dash"});
    for (const std::int64_t count : {BenchCorpus::kHundredThousand, BenchCorpus::kMillion}) {
        benchmark->Args({count, 0});
        benchmark->Args({count, 1});
    }
    benchmark->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(WhatsAppParserParse)->Apply(sizesAndLayouts);
BENCHMARK(ArchiveImporterLoad)->Apply(sizesAndLayouts);

}  // namespace
}  // namespace lumenary
