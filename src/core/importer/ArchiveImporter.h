#pragma once
// Reading the file the user chose — a WhatsApp export as a .zip or its bare text file — into
// messages, how many each sender wrote and how many voice notes came with it.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/Expected.h"
#include "importer/ChatMessage.h"

namespace lumenary::ArchiveImporter {

struct SenderCount {
    std::string name;
    long long count = 0;

    friend bool operator==(const SenderCount&, const SenderCount&) = default;
};

struct Result {
    std::vector<ChatMessage> messages;  // in file order
    std::vector<SenderCount> senders;   // every sender of `messages`, most messages first
    long long voiceNotes = 0;           // .opus entries of the zip; 0 for a text file
};

struct ImportError {
    enum class Kind {
        unreadable,      // not a zip that can be read; `detail` is libzip's own message
        noChatFile,      // a zip without any .txt
        fileUnreadable,  // the system refused the file; `detail` is the whole sentence
    };
    Kind kind = Kind::unreadable;
    std::string detail;

    /// The sentence shown to the user.
    std::string description() const;
};

/// Reads the export at `path`: a zip when its extension is "zip" in any case, text otherwise.
/// Of a zip only the chat text entry is read, in memory: the first entry (in the order of the
/// zip's directory) whose name ends with "_chat.txt", else the first ending with ".txt". The
/// text is decoded (UTF-8, UTF-16 on evidence, else Latin-1) and parsed as it is read, so the
/// whole text never sits in memory. Text without messages is not an error: it gives an empty
/// Result. Blocks while reading; thread-safe.
Expected<Result, ImportError> load(const std::filesystem::path& path);

/// The sender most likely to be the person: the first (in list order) whose lower-cased name
/// equals `preferredName` trimmed of spaces and tabs and lower-cased, else the first whose name
/// contains it or is contained in it, else the sender with the most messages (the first on a
/// tie). Nothing when `senders` is empty.
std::optional<std::string> suggestSpeaker(const std::vector<SenderCount>& senders,
                                          const std::optional<std::string>& preferredName);

}  // namespace lumenary::ArchiveImporter
