// The store's side that reads and writes the data folder.

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "store/ArchiveJson.h"
#include "store/AtomicFile.h"
#include "store/Store.h"
#include "store/TranscriptJson.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;

// Invalid UTF-8 is written as U+FFFD instead of failing the save: a file that keeps the rest of a
// persona or transcript is worth more than an old one that keeps neither.
std::string dumped(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

std::string encodedPersona(const Persona& persona) {
    return dumped(Json(persona));
}

// Parses `text` and decodes it as T. Nothing when the text is not JSON or not a T; running out
// of memory is not the file's fault and goes on up.
template <typename T>
std::optional<T> decoded(const std::string& text) {
    try {
        return Json::parse(text).get<T>();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// "20261123T101500Z": the UTC moment in a form that sorts and is valid in any file name.
std::string compactUtc(Timestamp t) {
    std::string text = LocalTime::isoUtc(t);
    text.erase(
        std::remove_if(text.begin(), text.end(), [](char c) { return c == '-' || c == ':'; }),
        text.end());
    return text;
}

}  // namespace

std::filesystem::path Store::defaultFolder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && *data != '\0' && std::filesystem::path(data).is_absolute())
        return std::filesystem::path(data) / "Lumenary";
    std::filesystem::path home;
    if (const char* fromEnvironment = std::getenv("HOME");
        fromEnvironment != nullptr && *fromEnvironment != '\0') {
        home = fromEnvironment;
    } else if (const passwd* account = ::getpwuid(::getuid()); account != nullptr) {
        home = account->pw_dir;
    }
    return home / ".local" / "share" / "Lumenary";
}

std::filesystem::path Store::pathOf(File file) const {
    switch (file) {
        case File::persona:
            return folder_ / personaFile;
        case File::messages:
            return folder_ / messagesFile;
        case File::transcript:
            return folder_ / transcriptFile;
    }
    return folder_ / personaFile;
}

Store::OnDisk& Store::onDisk(File file) {
    return onDisk_[file];
}

void Store::loadPersona() {
    const auto text = readStoredText(pathOf(File::persona));
    if (!text) {
        noteProblem(File::persona, text.error());
        return;
    }
    std::optional<Persona> read = decoded<Persona>(*text);
    if (!read) {
        noteProblem(File::persona, FileProblem::malformed);
        return;
    }
    persona_ = std::move(*read);
    // What save() would write for this value: an unchanged persona is then never rewritten, even
    // when the file was laid out differently or has keys this version does not know.
    onDisk(File::persona) = OnDisk{encodedPersona(persona_), {}, false};
    notify(Change::persona);
}

void Store::loadMessages() {
    auto read = ArchiveJson::read(pathOf(File::messages));
    if (!read) {
        noteProblem(File::messages, read.error());
        return;
    }
    replaceMessages(std::move(*read));
    onDisk(File::messages) = OnDisk{{}, messagesRevision_, false};
}

void Store::loadTranscript() {
    const auto text = readStoredText(pathOf(File::transcript));
    if (!text) {
        noteProblem(File::transcript, text.error());
        return;
    }
    std::optional<std::vector<Turn>> read = decoded<std::vector<Turn>>(*text);
    if (!read) {
        noteProblem(File::transcript, FileProblem::malformed);
        return;
    }
    std::vector<Turn> reclassified = reclassify(*read);
    const bool moved =
        !std::equal(read->begin(), read->end(), reclassified.begin(),
                    [](const Turn& a, const Turn& b) { return a.speaker == b.speaker; });
    transcript_ = std::move(reclassified);
    onDisk(File::transcript) = OnDisk{TranscriptJson::encode(*read), {}, false};
    notify(Change::transcript);
    if (moved)
        writeTranscript();
}

void Store::noteProblem(File file, FileProblem problem) {
    switch (problem) {
        case FileProblem::absent:
            noteAbsent(file);
            return;
        case FileProblem::malformed:
            if (setAside(file)) {
                noteAbsent(file);
                return;
            }
            break;
        case FileProblem::unreadable:
            // Left where it is: it may read again once the cause (permissions, a failing disk)
            // is gone. Until then nothing may replace it.
            break;
    }
    onDisk(file) = OnDisk{{}, {}, true};
}

void Store::noteAbsent(File file) {
    switch (file) {
        case File::persona:
            onDisk(file) = OnDisk{encodedPersona(Persona{}), {}, false};
            return;
        case File::messages:
            onDisk(file) = OnDisk{{}, 0, false};
            return;
        case File::transcript:
            onDisk(file) = OnDisk{TranscriptJson::encode({}), {}, false};
            return;
    }
}

bool Store::setAside(File file) {
    const std::filesystem::path damaged = pathOf(file);
    const std::string stem = damaged.stem().string() + ".damaged-" + compactUtc(options_.clock());
    // Two damaged loads within one second must not overwrite the first copy.
    for (int attempt = 1; attempt <= 1000; ++attempt) {
        std::string name = stem;
        if (attempt > 1) {
            // Appended in two steps: GCC 12 at -O3 warns falsely about "literal" + std::string.
            name += '-';
            name += std::to_string(attempt);
        }
        name += damaged.extension().string();
        const std::error_code error = renameWithoutReplacing(damaged, folder_ / name);
        if (!error)
            return true;
        if (error != std::errc::file_exists)
            return false;
    }
    return false;
}

bool Store::save() {
    bool written = writePersona();
    written = writeMessages() && written;
    written = writeTranscript() && written;
    return written;
}

bool Store::writePersona() {
    OnDisk& disk = onDisk(File::persona);
    std::string text = encodedPersona(persona_);
    if (disk.text == text)
        return true;
    if (disk.untouchable || writeFileAtomically(pathOf(File::persona), text))
        return false;
    disk.text = std::move(text);
    return true;
}

bool Store::writeMessages() {
    OnDisk& disk = onDisk(File::messages);
    if (disk.revision == messagesRevision_)
        return true;
    if (disk.untouchable)
        return false;
    AtomicFile file(pathOf(File::messages));
    if (file.error())
        return false;
    ArchiveJson::encode(messages_, [&](std::string_view piece) { file.append(piece); });
    if (file.commit())
        return false;
    disk.revision = messagesRevision_;
    return true;
}

bool Store::writeTranscript() {
    OnDisk& disk = onDisk(File::transcript);
    std::string text = TranscriptJson::encode(transcript_);
    if (disk.text == text)
        return true;
    if (disk.untouchable || writeFileAtomically(pathOf(File::transcript), text))
        return false;
    disk.text = std::move(text);
    return true;
}

bool Store::backupMessages() {
    const std::filesystem::path backup = folder_ / backupFile;
    std::error_code error;
    if (std::filesystem::symlink_status(backup, error).type() !=
            std::filesystem::file_type::not_found &&
        !error) {
        return true;
    }
    if (onDisk(File::messages).revision == messagesRevision_) {
        // The file holds the archive as it is in memory: copy its bytes as they are.
        error = copyFileAtomically(pathOf(File::messages), backup, AtomicFile::Existing::keep);
    } else {
        AtomicFile file(backup);
        ArchiveJson::encode(messages_, [&](std::string_view piece) { file.append(piece); });
        error = file.commit(AtomicFile::Existing::keep);
    }
    if (error)
        return error == std::errc::file_exists;
    // The filtered archive replaces the original next: the backup's name should reach the disk
    // first, or a power cut could leave the one without the other. Some file systems cannot
    // flush a folder at all; the backup is still there then.
    syncFolder(folder_);
    return true;
}

}  // namespace lumenary
