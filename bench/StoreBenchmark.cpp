// The store on a large archive: starting the application (reading the three files, rebuilding
// the index, the migration check) and the save that follows every turn of a conversation.
// Targets: a start within 1.5 s and a save after one new turn within 10 ms, at a million
// messages. The archive file's reading alone is timed too, beside nlohmann's DOM and the
// ChatMessage coding that it replaced, and the whole archive's writing.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "BenchCorpus.h"
#include "store/ArchiveJson.h"
#include "store/AtomicFile.h"
#include "store/Store.h"

namespace lumenary {
namespace {

namespace fs = std::filesystem;

/// A data folder holding the adopted archive of `count` entries, made once and removed when the
/// process ends normally.
struct DataFolder {
    fs::path path;
    explicit DataFolder(std::size_t count)
        : path(fs::temp_directory_path() /
               ("lumenary-bench-store-" + std::to_string(getpid()) + "-" + std::to_string(count))) {
        fs::create_directories(path);
        Store store(path);
        store.adopt(BenchCorpus::archive(count), std::string(ExportGenerator::personName));
    }
    ~DataFolder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

const fs::path& dataFolder(std::size_t count) {
    static std::map<std::size_t, std::unique_ptr<DataFolder>> folders;
    auto& slot = folders[count];
    if (!slot)
        slot = std::make_unique<DataFolder>(count);
    return slot->path;
}

// A line of /proc/self/status, in MiB ("VmRSS", "VmHWM").
double statusMiB(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(key + ":", 0) == 0)
            return std::stod(line.substr(key.size() + 1)) / 1024.0;
    }
    return 0;
}

// Starts a new peak: the kernel's high-water mark of resident memory drops to the current
// resident size. Freed heap is handed back first, so the next allocation counts again.
double resetPeak() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    return statusMiB("VmRSS");
}

/// Creating the store: what the application does at every start.
void StoreLoad(benchmark::State& state) {
    const fs::path& folder = dataFolder(static_cast<std::size_t>(state.range(0)));
    double peak = 0, kept = 0;
    std::size_t messages = 0;
    for (auto _ : state) {
        const double before = resetPeak();
        const auto start = std::chrono::steady_clock::now();
        auto store = std::make_unique<Store>(folder);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(took.count());
        peak = statusMiB("VmHWM") - before;
        kept = statusMiB("VmRSS") - before;
        messages = store->messages().size();
        if (store->index() == nullptr)
            state.SkipWithError("no index after loading");
    }
    state.counters["messages"] = static_cast<double>(messages);
    state.counters["file_MB"] = static_cast<double>(fs::file_size(folder / "messages.json")) / 1e6;
    state.counters["peak_MiB"] = peak;  // above what was resident before the store
    state.counters["kept_MiB"] = kept;
}

/// The archive file alone, as the store reads it.
void ArchiveRead(benchmark::State& state) {
    const fs::path file = dataFolder(static_cast<std::size_t>(state.range(0))) / "messages.json";
    double peak = 0;
    for (auto _ : state) {
        const double before = resetPeak();
        auto read = ArchiveJson::read(file);
        peak = statusMiB("VmHWM") - before;
        benchmark::DoNotOptimize(read.hasValue());
    }
    state.counters["peak_MiB"] = peak;
}

/// The same with nlohmann's DOM and ChatMessage's own decoding, for comparison.
void ArchiveReadWithDom(benchmark::State& state) {
    const fs::path file = dataFolder(static_cast<std::size_t>(state.range(0))) / "messages.json";
    double peak = 0;
    for (auto _ : state) {
        const double before = resetPeak();
        std::ifstream in(file, std::ios::binary);
        const auto messages = nlohmann::ordered_json::parse(in).get<std::vector<ChatMessage>>();
        peak = statusMiB("VmHWM") - before;
        benchmark::DoNotOptimize(messages.data());
    }
    state.counters["peak_MiB"] = peak;
}

/// Writing the whole archive, as after an import or a re-filter.
void ArchiveWrite(benchmark::State& state) {
    const auto& messages = BenchCorpus::archive(static_cast<std::size_t>(state.range(0)));
    const fs::path file = dataFolder(static_cast<std::size_t>(state.range(0))) / "written.json";
    for (auto _ : state) {
        AtomicFile out(file);
        ArchiveJson::encode(messages, [&](std::string_view piece) { out.append(piece); });
        if (out.commit())
            state.SkipWithError("the archive could not be written");
    }
    fs::remove(file);
}

/// One turn added and saved, as the conversation does for every line; the transcript already
/// holds `range(1)` turns.
void StoreSaveAfterOneTurn(benchmark::State& state) {
    const fs::path& folder = dataFolder(static_cast<std::size_t>(state.range(0)));
    Store store(folder);
    std::vector<Store::Turn> earlier;
    for (std::int64_t i = 0; i < state.range(1); ++i)
        earlier.push_back(Store::Turn{Uuid::random(),
                                      i % 2 ? Store::Turn::Speaker::her : Store::Turn::Speaker::me,
                                      "did you eat today kanna? I made pesarattu", std::nullopt});
    store.setTranscript(std::move(earlier));
    store.save();
    for (auto _ : state) {
        store.appendTurn(
            Store::Turn{Uuid::random(), Store::Turn::Speaker::me, "i miss you amma", std::nullopt});
        if (!store.save())
            state.SkipWithError("the save failed");
    }
    store.setTranscript({});
    store.save();
}

BENCHMARK(StoreLoad)
    ->ArgName("messages")
    ->Arg(BenchCorpus::kHundredThousand)
    ->Arg(BenchCorpus::kMillion)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(3);
BENCHMARK(ArchiveRead)
    ->ArgName("messages")
    ->Arg(BenchCorpus::kHundredThousand)
    ->Arg(BenchCorpus::kMillion)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(ArchiveReadWithDom)
    ->ArgName("messages")
    ->Arg(BenchCorpus::kHundredThousand)
    ->Arg(BenchCorpus::kMillion)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK(ArchiveWrite)
    ->ArgName("messages")
    ->Arg(BenchCorpus::kHundredThousand)
    ->Arg(BenchCorpus::kMillion)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(StoreSaveAfterOneTurn)
    ->ArgNames({"messages", "turns"})
    ->Args({BenchCorpus::kMillion, 0})
    ->Args({BenchCorpus::kMillion, 10000})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace lumenary
