#pragma once
// The one owner of everything kept about the person and the conversation: the persona, the
// imported archive, the retrieval index built from it and the transcript. Views observe it; the
// data folder holds it as "persona.json", "messages.json" and "chat.json".
//
// Used from one thread (the GUI thread in the desktop application); no locking. Every call that
// touches files blocks until they are read or written. File problems never reach the caller: a
// file that cannot be read leaves the value in memory as it was, a write that fails leaves the old
// file exactly as it was (every write goes through AtomicFile), and a file that is there but does
// not decode is renamed aside ("persona.damaged-20261123T101500Z.json") before anything could
// write over it.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/LocalTime.h"
#include "common/Uuid.h"
#include "importer/ChatMessage.h"
#include "retrieval/RetrievalIndex.h"
#include "store/Persona.h"
#include "store/StoredFile.h"

namespace lumenary {

class Store {
public:
    /// One line of the conversation with her.
    struct Turn {
        enum class Speaker { me, her, notice };  // stored as "me", "her", "notice"

        Uuid id = Uuid::random();  // fresh for every turn
        Speaker speaker = Speaker::me;
        std::string text;
        // When she really wrote it, for a turn that is one of her messages from the archive.
        std::optional<Timestamp> realDate;

        friend bool operator==(const Turn&, const Turn&) = default;
    };

    /// Which published value changed.
    enum class Change { persona, messages, index, transcript };
    using Observer = std::function<void(Change)>;

    struct Options {
        /// Where the line refusing a re-filter of the archive goes; standard output when empty.
        std::function<void(const std::string&)> print;
        /// The time that names a damaged file set aside; the system clock when empty.
        std::function<Timestamp()> clock;
    };

    static constexpr std::string_view personaFile = "persona.json";
    static constexpr std::string_view messagesFile = "messages.json";
    static constexpr std::string_view transcriptFile = "chat.json";
    static constexpr std::string_view backupFile = "messages-backup.json";

    /// Creates `folder` with its parents (a failure is ignored; every read then finds nothing and
    /// every write fails) and loads it.
    explicit Store(std::filesystem::path folder, Options options = {});
    /// The index refers to `messages`, so the store stays where it was made.
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// $XDG_DATA_HOME/Lumenary, or ~/.local/share/Lumenary when XDG_DATA_HOME is unset, empty or
    /// relative ($HOME, else the account's home folder).
    static std::filesystem::path defaultFolder();

    const Persona& persona() const { return persona_; }
    /// The archive in file order. Changes only through load, adopt and eraseEverything.
    const std::vector<ChatMessage>& messages() const { return messages_; }
    /// The index over messages() for persona().speaker; null while either is empty. Replaced
    /// whenever the archive or the speaker changes: do not keep the pointer across such a change.
    const RetrievalIndex* index() const { return index_.get(); }
    const std::vector<Turn>& transcript() const { return transcript_; }
    const std::filesystem::path& folder() const { return folder_; }

    /// Replaces the persona; a new speaker rebuilds the index. Does not save.
    void setPersona(Persona persona);
    /// Adds a line to the transcript. Does not save.
    void appendTurn(Turn turn);
    /// Replaces the transcript (empty to clear it). Does not save.
    void setTranscript(std::vector<Turn> transcript);

    /// Calls `observer` after every change, with what changed; gives a number for unobserve().
    int observe(Observer observer);
    void unobserve(int observation);

    /// Reads the three files into memory (a file that is missing or does not decode leaves its
    /// value as it is), moves the application's old notices out of her side of the transcript
    /// (rewriting "chat.json" when it did), rebuilds the index and brings the data up to the
    /// current rules (see migrate()).
    void load();

    /// Writes each file whose value changed since it was last read or written; an unchanged
    /// archive is never encoded. True when everything that needed writing was written.
    bool save();

    /// Takes a freshly imported archive and her sender name: measures her again, mines the
    /// few-shot bank, writes a new voice card (replacing one the user wrote), rebuilds the index
    /// and saves.
    void adopt(std::vector<ChatMessage> messages, std::string speaker);

    /// Deletes the three files (the backup, set-aside damaged files and the portraits stay) and
    /// returns every value to its initial state. A file that is not there is no problem.
    void eraseEverything();

    /// The turns in order, each of her turns that quotes one of the application's own notices
    /// ("Turn off Her words only", "Bring our chats across and I'll sound more like myself",
    /// "I don't have anything of my own to say to that one", in any case) made a notice.
    static std::vector<Turn> reclassify(std::vector<Turn> turns);

private:
    enum class File { persona, messages, transcript };

    // What the store knows about one of its files, so that save() writes only what changed and
    // never writes over a file it could not read.
    struct OnDisk {
        std::optional<std::string> text;        // persona, transcript: what the file holds
        std::optional<std::uint64_t> revision;  // messages: the revision the file holds
        bool untouchable = false;  // there, unreadable, and not set aside: never written over
    };

    std::filesystem::path pathOf(File file) const;
    OnDisk& onDisk(File file);
    void notify(Change change);

    void loadPersona();
    void loadMessages();
    void loadTranscript();
    // A file that is missing or did not load: remembers what that means for later saves.
    void noteProblem(File file, FileProblem problem);
    // Renames a damaged file to "<name>.damaged-<UTC time>[-n].json"; false when it stays.
    bool setAside(File file);
    // Marks the file as holding what a missing file would give.
    void noteAbsent(File file);

    bool writePersona();
    bool writeMessages();
    bool writeTranscript();

    void replaceMessages(std::vector<ChatMessage> messages);
    void rebuildIndex();
    // Re-filters the archive with the current noise rules and fills a missing few-shot bank;
    // saves when it changed something.
    void migrate();
    // Drops the noise from the archive and measures her again from what is left.
    void filterNoise(std::size_t keptCount);
    // Makes "messages-backup.json" once; true when it exists afterwards.
    bool backupMessages();
    // True when `card` was written by the application rather than by the user.
    bool isMachineCard(const std::string& card, const PersonaStats& statsItWasWrittenFrom) const;

    std::filesystem::path folder_;
    Options options_;

    Persona persona_;
    std::vector<ChatMessage> messages_;  // at a fixed address: index_ refers to it
    std::unique_ptr<RetrievalIndex> index_;
    std::vector<Turn> transcript_;

    // Advances with every change to messages_; 0 always means an empty archive, so that a missing
    // file and an empty archive count as the same.
    std::uint64_t messagesRevision_ = 0;
    std::uint64_t lastRevision_ = 0;
    std::map<File, OnDisk> onDisk_;

    std::map<int, Observer> observers_;
    int nextObservation_ = 0;
};

/// "me", "her" or "notice".
std::string_view rawValue(Store::Turn::Speaker speaker);

/// JSON coding: "id" (canonical upper-case UUID text), "speaker" (raw value), "text" and
/// "realDate" (ISO 8601 UTC, whole seconds; written only when present, read as none when missing
/// or null). Reading throws nlohmann::json::exception when a required key is missing or of the
/// wrong type, or the id, speaker or date does not read; unknown keys are ignored.
void to_json(nlohmann::ordered_json& json, const Store::Turn& turn);
void from_json(const nlohmann::ordered_json& json, Store::Turn& turn);

}  // namespace lumenary
