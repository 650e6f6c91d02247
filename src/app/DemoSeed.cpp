#include "DemoSeed.h"

#include <stdlib.h>

#include <algorithm>
#include <ostream>
#include <system_error>

#include "ModelModes.h"
#include "common/Expected.h"
#include "common/LocalTime.h"
#include "importer/ArchiveImporter.h"
#include "store/AtomicFile.h"
#include "store/Store.h"

namespace lumenary::DemoSeed {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kCopyPrefix = "before-demo-";
// A copy being made: hidden, and renamed to its final name only once complete.
constexpr std::string_view kPartialPrefix = ".before-demo.";

bool isRegularFile(const fs::path& path) {
    std::error_code error;
    return fs::symlink_status(path, error).type() == fs::file_type::regular;
}

// "20261124T101500Z": sorts by time and is valid in any file name.
std::string compactUtc(Timestamp t) {
    std::string text = LocalTime::isoUtc(t);
    std::erase_if(text, [](char c) { return c == '-' || c == ':'; });
    return text;
}

// Removes every earlier copy and any copy left half made by an interrupted run, except `keep`.
// remove_all never follows a link, so a link planted under one of these names loses only itself.
void removeOtherCopies(const fs::path& folder, const fs::path& keep) {
    std::error_code error;
    std::vector<fs::path> stale;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if ((name.starts_with(kCopyPrefix) || name.starts_with(kPartialPrefix)) &&
            entry.path() != keep) {
            stale.push_back(entry.path());
        }
    }
    for (const fs::path& path : stale)
        fs::remove_all(path, error);  // what cannot be removed stays; it holds nothing newer
}

// Seeding replaces the archive, and one already in the data folder may be the only copy of her
// messages: it is copied aside first, and nothing is seeded when that fails. Only regular files
// are copied, never what a link points to.
Expected<std::optional<fs::path>, std::string> keepEarlierCopy(const fs::path& folder) {
    if (!isRegularFile(folder / Store::messagesFile))
        return std::optional<fs::path>{};
    std::string pattern = (folder / kPartialPrefix).string() + "XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
        return unexpected(std::error_code(errno, std::generic_category()).message());
    const fs::path partial = pattern;
    for (std::string_view name : {Store::personaFile, Store::messagesFile, Store::transcriptFile}) {
        if (!isRegularFile(folder / name))
            continue;
        if (const std::error_code error =
                copyFileAtomically(folder / name, partial / name, AtomicFile::Existing::keep)) {
            std::error_code ignored;
            fs::remove_all(partial, ignored);
            return unexpected(error.message());
        }
    }
    fs::path copy = folder / (std::string(kCopyPrefix) + compactUtc(now()));
    for (int attempt = 2; fs::exists(fs::symlink_status(copy)); ++attempt)
        copy =
            folder / (std::string(kCopyPrefix) + compactUtc(now()) + "-" + std::to_string(attempt));
    if (const std::error_code error = renameWithoutReplacing(partial, copy)) {
        std::error_code ignored;
        fs::remove_all(partial, ignored);
        return unexpected(error.message());
    }
    removeOtherCopies(folder, copy);
    return std::optional<fs::path>{copy};
}

fs::path absolutePath(const std::string& path) {
    std::error_code error;
    fs::path absolute = fs::absolute(ModelModes::expandTilde(path), error);
    if (error)
        absolute = ModelModes::expandTilde(path);
    return absolute.lexically_normal();
}

}  // namespace

std::optional<fs::path> sampleChat() {
    std::vector<fs::path> candidates{"docs/sample-chat.txt"};
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (!error)
        candidates.push_back(program.parent_path() / "../share/lumenary/sample-chat.txt");
    candidates.push_back(fs::path(LUMENARY_SOURCE_DIR) / "docs/sample-chat.txt");
    for (const fs::path& candidate : candidates) {
        if (fs::is_regular_file(candidate, error))
            return absolutePath(candidate.string());
    }
    return std::nullopt;
}

int seed(const std::optional<std::string>& exportPath,
         const std::optional<std::string>& preferredName, std::ostream& out, std::ostream& err) {
    std::optional<fs::path> path = exportPath ? absolutePath(*exportPath) : sampleChat();
    if (!path) {
        err << "Could not find the sample chat that comes with Lumenary. Name an export after "
               "--demo.\n";
        return 1;
    }

    auto imported = ArchiveImporter::load(*path);
    if (!imported) {
        err << "Could not seed from " << path->string() << ": " << imported.error().description()
            << '\n';
        return 1;
    }
    const std::optional<std::string> sender =
        ArchiveImporter::suggestSpeaker(imported->senders, preferredName);
    if (!sender) {
        err << "Could not seed from " << path->string()
            << ": it holds no messages that Lumenary can read.\n";
        return 1;
    }

    const fs::path folder = Store::defaultFolder();
    const auto kept = keepEarlierCopy(folder);
    if (!kept) {
        err << "Could not keep a copy of the archive already in " << folder.string() << " ("
            << kept.error() << "), so nothing was seeded.\n";
        return 1;
    }
    if (*kept)
        out << "Kept a copy of the earlier archive in " << (*kept)->string() << ".\n";

    Store store(folder);
    Persona persona = store.persona();
    persona.name = *sender;
    persona.relationship = "Mother";
    persona.onboarded = true;
    persona.herWordsOnly = true;
    store.setPersona(std::move(persona));
    const std::size_t count = imported->messages.size();
    store.adopt(std::move(imported->messages), *sender);
    out << "Seeded " << count << " messages as " << *sender << ". Starting\u2026\n";
    return 0;
}

}  // namespace lumenary::DemoSeed
