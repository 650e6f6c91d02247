#include "importer/ArchiveImporter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "importer/LineParser.h"
#include "importer/ParsePipeline.h"
#include "importer/TextDecoding.h"
#include "text/TextRules.h"

namespace lumenary::ArchiveImporter {
namespace {

// A zip made by the Mac's Finder carries a resource-fork companion for every file, in a
// "__MACOSX" folder and named "._" + the file's name ("__MACOSX/._chat.txt"). They hold no
// text of the chat, and one of them would otherwise be taken for it.
bool isMacResourceFork(std::string_view entry) {
    if (entry.starts_with("__MACOSX/") || entry.find("/__MACOSX/") != std::string_view::npos)
        return true;
    const std::size_t slash = entry.rfind('/');
    const std::string_view file = slash == std::string_view::npos ? entry : entry.substr(slash + 1);
    return file.starts_with("._");
}

using std::size_t;
using TextDecoding::Encoding;

constexpr size_t kPieceSize = size_t{1} << 20;

ImportError unreadable(std::string detail) {
    // libzip's messages carry no final full stop; the sentence around them needs one.
    if (!detail.empty() && detail.back() != '.')
        detail += '.';
    return ImportError{ImportError::Kind::unreadable, std::move(detail)};
}

ImportError systemRefused(const char* verb, const std::filesystem::path& path, int error) {
    const std::string name = path.filename().empty() ? path.string() : path.filename().string();
    return ImportError{ImportError::Kind::fileUnreadable,
                       std::string("Could not ") + verb + " \u201C" + name +
                           "\u201D: " + std::strerror(error) + "."};
}

std::string zipMessage(int code) {
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string message = zip_error_strerror(&error);
    zip_error_fini(&error);
    return message;
}

bool endsWithIgnoringAsciiCase(std::string_view s, std::string_view suffix) {
    if (s.size() < suffix.size())
        return false;
    s.remove_prefix(s.size() - suffix.size());
    return std::equal(s.begin(), s.end(), suffix.begin(), [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a + 32) : a) == b;
    });
}

// Where the bytes come from: a file, or one entry of a zip. Both can start over, which a second
// pass needs (Latin-1 after failed UTF-8, or a date order settled late).
class ByteSource {
public:
    virtual ~ByteSource() = default;
    /// Up to `capacity` bytes; 0 at the end; nothing after a failure (see error()).
    virtual std::optional<size_t> read(char* buffer, size_t capacity) = 0;
    virtual bool restart() = 0;
    /// How many bytes there are to read, as far as known (0 when not).
    virtual size_t size() const = 0;
    const ImportError& error() const { return error_; }

protected:
    ImportError error_;
};

class FileSource : public ByteSource {
public:
    FileSource(int descriptor, std::filesystem::path path, size_t size)
        : descriptor_(descriptor), path_(std::move(path)), size_(size) {}
    ~FileSource() override { ::close(descriptor_); }
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    std::optional<size_t> read(char* buffer, size_t capacity) override {
        for (;;) {
            const ssize_t got = ::read(descriptor_, buffer, capacity);
            if (got >= 0)
                return static_cast<size_t>(got);
            if (errno == EINTR)
                continue;
            error_ = systemRefused("read", path_, errno);
            return std::nullopt;
        }
    }

    bool restart() override {
        if (::lseek(descriptor_, 0, SEEK_SET) == 0)
            return true;
        error_ = systemRefused("read", path_, errno);
        return false;
    }

    size_t size() const override { return size_; }

private:
    int descriptor_;
    std::filesystem::path path_;
    size_t size_;
};

struct ZipCloser {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
using ZipArchive = std::unique_ptr<zip_t, ZipCloser>;

class ZipEntrySource : public ByteSource {
public:
    ZipEntrySource(zip_t* archive, zip_uint64_t index) : archive_(archive), index_(index) {}
    ~ZipEntrySource() override { close(); }
    ZipEntrySource(const ZipEntrySource&) = delete;
    ZipEntrySource& operator=(const ZipEntrySource&) = delete;

    std::optional<size_t> read(char* buffer, size_t capacity) override {
        if (file_ == nullptr && !restart())
            return std::nullopt;
        const zip_int64_t got = zip_fread(file_, buffer, capacity);
        if (got < 0) {
            error_ = unreadable(zip_file_strerror(file_));
            return std::nullopt;
        }
        return static_cast<size_t>(got);
    }

    bool restart() override {
        close();
        file_ = zip_fopen_index(archive_, index_, 0);
        if (file_ != nullptr)
            return true;
        error_ = unreadable(zip_strerror(archive_));
        return false;
    }

    size_t size() const override {
        zip_stat_t stat;
        zip_stat_init(&stat);
        if (zip_stat_index(archive_, index_, 0, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE)) {
            return 0;
        }
        return static_cast<size_t>(stat.size);
    }

private:
    void close() {
        if (file_ != nullptr)
            zip_fclose(file_);
        file_ = nullptr;
    }

    zip_t* archive_;
    zip_uint64_t index_;
    zip_file_t* file_ = nullptr;
};

// Hands decoded text to the parser a line at a time, keeping a line cut by the end of a piece.
class LineFeeder {
public:
    explicit LineFeeder(LineParser& parser) : parser_(parser) {}

    /// `lasting`: the text stays valid until the parser's current batch has been assembled.
    void feed(std::string_view text, bool lasting) {
        while (!text.empty()) {
            const size_t newline = text.find('\n');
            if (newline == std::string_view::npos) {
                partial_.append(text);
                return;
            }
            if (partial_.empty()) {
                parser_.addLine(text.substr(0, newline), true, lasting);
            } else {
                partial_.append(text.substr(0, newline));
                parser_.addLine(partial_, true, false);
                partial_.clear();
            }
            text.remove_prefix(newline + 1);
        }
    }

    void finish() {
        parser_.addLine(partial_, false, false);
        partial_.clear();
    }

private:
    LineParser& parser_;
    std::string partial_;
};

// Fills `buffer` from the start of `source` as far as `length` bytes or the end.
std::optional<size_t> readHead(ByteSource& source, std::string& buffer, size_t length) {
    buffer.resize(length);
    size_t filled = 0;
    while (filled < length) {
        const std::optional<size_t> got = source.read(buffer.data() + filled, length - filled);
        if (!got)
            return std::nullopt;
        if (*got == 0)
            break;
        filled += *got;
    }
    buffer.resize(filled);
    return filled;
}

// Why a pass over the bytes stopped early.
enum class Stop { none, readFailed, notUtf8 };

// Reads, decodes and parses the source once. Runs on the parsing pipeline's worker thread for
// large texts; `stop` says why it gave up.
bool feedSource(ByteSource& source, TextDecoding::Detection detection, Encoding encoding,
                LineParser& parser, ParsePipeline::Handover& handover, Stop& stop) {
    LineFeeder lines(parser);
    TextDecoding::Decoder decoder(encoding);
    size_t markLeft = detection.markLength;
    while (!parser.needsSecondPass()) {
        std::unique_ptr<std::string> bytes = handover.buffer();
        bytes->resize(kPieceSize);
        const std::optional<size_t> got = source.read(bytes->data(), bytes->size());
        if (!got) {
            stop = Stop::readFailed;
            return false;
        }
        if (*got == 0)
            break;
        bytes->resize(*got);
        std::string_view piece(*bytes);
        const size_t mark = std::min(markLeft, piece.size());
        piece.remove_prefix(mark);
        markLeft -= mark;
        // Well-formed UTF-8 is parsed where it lies; other encodings are converted first. The
        // batch keeps the text its drafts point into.
        DraftBatch batch;
        if (encoding == Encoding::utf8) {
            const bool wellFormed = decoder.decodeInto(
                piece, [&](std::string_view text, bool inBytes) { lines.feed(text, inBytes); });
            if (!wellFormed) {
                stop = Stop::notUtf8;
                return false;
            }
            batch = parser.takeBatch();
        } else {
            std::unique_ptr<std::string> text = handover.buffer();
            text->clear();
            decoder.decode(piece, *text);
            lines.feed(*text, true);
            batch = parser.takeBatch();
            batch.keep(std::move(text));
        }
        batch.keep(std::move(bytes));
        if (!handover.send(std::move(batch)))
            return false;
    }
    if (!parser.needsSecondPass()) {
        std::string rest;
        if (!decoder.finish(rest)) {
            stop = Stop::notUtf8;
            return false;
        }
        lines.feed(rest, false);
        lines.finish();
    }
    return true;
}

Expected<std::vector<ChatMessage>, ImportError> readMessages(ByteSource& source) {
    std::string head;
    if (!readHead(source, head, TextDecoding::kDetectionLength)) {
        return unexpected(source.error());
    }
    const TextDecoding::Detection detection = TextDecoding::detect(head);
    const size_t size = source.size();
    const bool concurrent = ParsePipeline::worthAThread(size);

    Encoding encoding = detection.encoding;
    LayoutOrders orders;
    // At most: UTF-8 with each layout's order settled late, then Latin-1 likewise.
    for (int pass = 0; pass < 6; ++pass) {
        if (!source.restart())
            return unexpected(source.error());
        Stop stop = Stop::none;
        ParsePipeline::Run run = ParsePipeline::run(
            [&](LineParser& parser, ParsePipeline::Handover& handover) {
                return feedSource(source, detection, encoding, parser, handover, stop);
            },
            orders, size, concurrent);
        if (stop == Stop::readFailed)
            return unexpected(source.error());
        if (stop == Stop::notUtf8) {
            // Not UTF-8 after all: read it all again as Latin-1, order undecided again.
            encoding = Encoding::latin1;
            orders = {};
            continue;
        }
        if (!run.secondPassOrders)
            return std::move(run.messages);
        orders = ParsePipeline::withSecondPassOrders(orders, *run.secondPassOrders);
    }
    return std::vector<ChatMessage>{};  // not reached: the last pass has both settled
}

std::vector<SenderCount> countSenders(const std::vector<ChatMessage>& messages) {
    std::vector<SenderCount> senders;
    std::unordered_map<std::string_view, size_t> slot;
    for (const ChatMessage& message : messages) {
        const auto [at, added] = slot.try_emplace(message.sender, senders.size());
        if (added)
            senders.push_back(SenderCount{message.sender, 0});
        ++senders[at->second].count;
    }
    std::stable_sort(senders.begin(), senders.end(),
                     [](const SenderCount& a, const SenderCount& b) { return a.count > b.count; });
    return senders;
}

Expected<Result, ImportError> loadText(int descriptor, const std::filesystem::path& path,
                                       const struct stat& info) {
    FileSource source(descriptor, path, static_cast<size_t>(std::max<off_t>(info.st_size, 0)));
    auto messages = readMessages(source);
    if (!messages)
        return unexpected(messages.error());
    Result result;
    result.messages = std::move(*messages);
    return result;
}

Expected<Result, ImportError> loadZip(int descriptor, const struct stat& info) {
    // libzip takes an empty file for an empty archive; the unzip tool and the user do not.
    if (info.st_size == 0) {
        ::close(descriptor);
        return unexpected(unreadable(zipMessage(ZIP_ER_NOZIP)));
    }
    int code = 0;
    ZipArchive archive(zip_fdopen(descriptor, 0, &code));
    if (!archive) {
        ::close(descriptor);
        return unexpected(unreadable(zipMessage(code)));
    }
    // The directory's order stands for the listing of an unpacked folder.
    long long voiceNotes = 0;
    std::optional<zip_uint64_t> chatEntry, anyText;
    const zip_int64_t entries = zip_get_num_entries(archive.get(), 0);
    for (zip_int64_t i = 0; i < entries; ++i) {
        const char* name = zip_get_name(archive.get(), static_cast<zip_uint64_t>(i), 0);
        if (name == nullptr)
            continue;
        const std::string_view entry(name);
        if (isMacResourceFork(entry))
            continue;
        if (endsWithIgnoringAsciiCase(entry, ".opus"))
            ++voiceNotes;
        if (!chatEntry && endsWithIgnoringAsciiCase(entry, "_chat.txt"))
            chatEntry = i;
        if (!anyText && endsWithIgnoringAsciiCase(entry, ".txt"))
            anyText = i;
    }
    if (!chatEntry)
        chatEntry = anyText;
    if (!chatEntry)
        return unexpected(ImportError{ImportError::Kind::noChatFile, {}});

    ZipEntrySource source(archive.get(), *chatEntry);
    auto messages = readMessages(source);
    if (!messages)
        return unexpected(messages.error());
    Result result;
    result.messages = std::move(*messages);
    result.voiceNotes = voiceNotes;
    return result;
}

}  // namespace

std::string ImportError::description() const {
    switch (kind) {
        case Kind::unreadable:
            return "Could not read that file. " + detail;
        case Kind::noChatFile:
            return "That zip has no _chat.txt inside. In WhatsApp, open the chat, tap the contact "
                   "name, then Export Chat \u2192 Without Media.";
        case Kind::fileUnreadable:
            return detail;
    }
    return detail;
}

Expected<Result, ImportError> load(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return unexpected(systemRefused("open", path, errno));
    struct stat info {};
    if (::fstat(descriptor, &info) != 0 || S_ISDIR(info.st_mode)) {
        const int error = S_ISDIR(info.st_mode) ? EISDIR : errno;
        ::close(descriptor);
        return unexpected(systemRefused("read", path, error));
    }
    const std::string extension = path.extension().string();
    const bool isZip = extension.size() == 4 && endsWithIgnoringAsciiCase(extension, ".zip");
    auto loaded = isZip ? loadZip(descriptor, info) : loadText(descriptor, path, info);
    if (!loaded)
        return loaded;
    loaded->senders = countSenders(loaded->messages);
    return loaded;
}

std::optional<std::string> suggestSpeaker(const std::vector<SenderCount>& senders,
                                          const std::optional<std::string>& preferredName) {
    if (senders.empty())
        return std::nullopt;
    if (preferredName) {
        const std::string wanted = text::lowercase(text::trimSpacesAndTabs(*preferredName));
        if (!wanted.empty()) {
            std::vector<std::string> names;
            names.reserve(senders.size());
            for (const SenderCount& sender : senders)
                names.push_back(text::lowercase(sender.name));
            for (size_t i = 0; i < senders.size(); ++i) {
                if (names[i] == wanted)
                    return senders[i].name;
            }
            for (size_t i = 0; i < senders.size(); ++i) {
                // An empty name is part of every string; it is no one's name.
                if (!names[i].empty() && (names[i].find(wanted) != std::string::npos ||
                                          wanted.find(names[i]) != std::string::npos)) {
                    return senders[i].name;
                }
            }
        }
    }
    const auto most = std::max_element(
        senders.begin(), senders.end(),
        [](const SenderCount& a, const SenderCount& b) { return a.count < b.count; });
    return most->name;
}

}  // namespace lumenary::ArchiveImporter
