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
    switch (state.range(1)) {
        case 0:
            return Layout::bracketed;
        case 1:
            return Layout::dash;
        default:
            return Layout::spanish;
    }
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

// Arguments: entries in the export, then the layout (0 bracketed, 1 dash, 2 the Spanish
// Android shape with no comma and "p. m.", which goes through the other header and date shapes).
void sizesAndLayouts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"messages", "layout"});
    for (const std::int64_t count : {BenchCorpus::kHundredThousand, BenchCorpus::kMillion}) {
        for (const std::int64_t layout : {0, 1, 2})
            benchmark->Args({count, layout});
    }
    benchmark->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(WhatsAppParserParse)->Apply(sizesAndLayouts);
BENCHMARK(ArchiveImporterLoad)->Apply(sizesAndLayouts);

}  // namespace
}  // namespace lumenary
