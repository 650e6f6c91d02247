// Measuring her voice on a parsed archive: the statistics behind the voice card, and the mining
// of the few-shot bank (which pairs the whole archive into exchanges first).

#include <benchmark/benchmark.h>

#include "BenchCorpus.h"
#include "voice/FewShot.h"
#include "voice/PersonaBuilder.h"

namespace lumenary {
namespace {

const std::string kSpeaker(ExportGenerator::personName);

void PersonaBuilderStats(benchmark::State& state) {
    const auto& messages = BenchCorpus::archive(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const PersonaStats stats = PersonaBuilder::stats(kSpeaker, messages);
        benchmark::DoNotOptimize(stats.messageCount);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(messages.size()));
}

void FewShotMine(benchmark::State& state) {
    const auto& messages = BenchCorpus::archive(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const std::vector<Exchange> bank = FewShot::mine(messages, kSpeaker, 30);
        benchmark::DoNotOptimize(bank.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(messages.size()));
}

BENCHMARK(PersonaBuilderStats)
    ->ArgName("messages")
    ->Arg(BenchCorpus::kHundredThousand)
    ->Arg(BenchCorpus::kMillion)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(FewShotMine)
    ->ArgName("messages")
    ->Arg(BenchCorpus::kHundredThousand)
    ->Arg(BenchCorpus::kMillion)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace lumenary
