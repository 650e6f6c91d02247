#include "BenchCorpus.h"

#include <unistd.h>

#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include "importer/WhatsAppParser.h"

namespace lumenary::BenchCorpus {
namespace {

constexpr std::uint64_t kSeed = 20160101;

using Key = std::pair<std::size_t, ExportGenerator::Layout>;

/// Removes the file it names when the process ends, so a million-message export does not stay
/// behind in /tmp after every run.
struct TemporaryFile {
    std::filesystem::path path;
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
};

}  // namespace

const std::string& exportText(std::size_t count, ExportGenerator::Layout layout) {
    static std::map<Key, std::string> texts;
    auto [at, inserted] = texts.try_emplace({count, layout});
    if (inserted)
        at->second = ExportGenerator::generate(count, layout, kSeed);
    return at->second;
}

const std::filesystem::path& exportFile(std::size_t count, ExportGenerator::Layout layout) {
    static std::map<Key, std::unique_ptr<TemporaryFile>> files;
    auto [at, inserted] = files.try_emplace({count, layout});
    if (inserted) {
        const char* kind = layout == ExportGenerator::Layout::bracketed ? "bracketed"
                           : layout == ExportGenerator::Layout::dash    ? "dash"
                                                                        : "spanish";
        auto file = std::make_unique<TemporaryFile>();
        file->path = std::filesystem::temp_directory_path() /
                     ("lumenary-bench-" + std::to_string(getpid()) + "-" + std::to_string(count) +
                      "-" + kind + ".txt");
        const std::string& text = exportText(count, layout);
        std::ofstream out(file->path, std::ios::binary | std::ios::trunc);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
        out.close();
        if (!out)
            throw std::runtime_error("could not write " + file->path.string());
        at->second = std::move(file);
    }
    return at->second->path;
}

const std::vector<ChatMessage>& archive(std::size_t count) {
    static std::map<std::size_t, std::vector<ChatMessage>> archives;
    auto [at, inserted] = archives.try_emplace(count);
    if (inserted) {
        at->second = WhatsAppParser::parse(exportText(count, ExportGenerator::Layout::bracketed));
    }
    return at->second;
}

const std::vector<std::string>& queries() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> list = {"i haven't eaten yet", "work is stressful today",
                                         "how do i cook rice", "i miss you"};
        for (auto& query : ExportGenerator::sampleQueries(2000, kSeed)) {
            list.push_back(std::move(query));
        }
        return list;
    }();
    return all;
}

}  // namespace lumenary::BenchCorpus
