#include "providers/KeyFileStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <nlohmann/json.hpp>
#include <span>

namespace lumenary::KeyFileStore {
namespace {

using Json = nlohmann::ordered_json;

// Three keys take a few hundred bytes. A much larger file is not one this program wrote, and is
// treated as damaged rather than read into memory.
constexpr std::size_t kMaxFileSize = 64 * 1024;

enum class State { missing, unreadable, damaged, intact };

struct Contents {
    State state = State::missing;
    Json object = Json::object();
};

// Overwrites text that held a key before its memory goes back to the allocator.
void wipe(std::string& text) {
    explicit_bzero(text.data(), text.size());
    text.clear();
}

void wipeKeys(Json& object) {
    for (auto& entry : object.items()) {
        if (entry.value().is_string())
            wipe(entry.value().get_ref<std::string&>());
    }
}

// Reads all of `fd` while it stays within kMaxFileSize; false on an error or a larger file.
bool readBounded(int fd, std::string& text) {
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count == 0)
            break;
        if (count < 0) {
            if (errno == EINTR)
                continue;
            explicit_bzero(buffer, sizeof buffer);
            return false;
        }
        text.append(buffer, static_cast<std::size_t>(count));
        if (text.size() > kMaxFileSize)
            break;
    }
    explicit_bzero(buffer, sizeof buffer);
    return text.size() <= kMaxFileSize;
}

Contents load(const std::filesystem::path& file) {
    // O_NONBLOCK so that a FIFO put in the file's place cannot hang the open.
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return {errno == ENOENT ? State::missing : State::unreadable};
    Contents contents;
    struct stat info {};
    std::string text;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        contents.state = State::unreadable;
    } else if (!readBounded(fd, text)) {
        contents.state = text.size() > kMaxFileSize ? State::damaged : State::unreadable;
    } else {
        // Parsing without exceptions: a damaged file becomes a discarded value, never a throw.
        Json parsed = Json::parse(text, nullptr, false);
        if (parsed.is_object()) {
            contents.state = State::intact;
            contents.object = std::move(parsed);
        } else {
            contents.state = State::damaged;
        }
    }
    wipe(text);
    ::close(fd);
    return contents;
}

// Creates `folder` and any missing parents with mode 0700; an existing folder keeps its mode.
bool makePrivateFolder(const std::filesystem::path& folder) {
    if (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST)
        return true;
    if (errno != ENOENT || folder.parent_path() == folder)
        return false;
    if (!makePrivateFolder(folder.parent_path()))
        return false;
    return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

bool writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void syncFolder(const std::filesystem::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

// Replaces `file` with `text`. mkostemp creates the temporary file with mode 0600, so the key is
// never readable by others, not even between creation and a chmod.
void writeAtomically(const std::filesystem::path& file, std::string_view text) {
    const std::filesystem::path folder = file.parent_path();
    if (!makePrivateFolder(folder))
        return;
    std::string temporary = file.string() + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return;
    bool written = writeAll(fd, text) && ::fsync(fd) == 0;
    written = ::close(fd) == 0 && written;
    if (!written || ::rename(temporary.c_str(), file.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return;
    }
    syncFolder(folder);  // makes the rename itself survive a power cut
}

std::mutex& fileMutex() {
    static std::mutex mutex;
    return mutex;
}

// Sets the entries of `providers` to `key` (an empty key removes them) in one rewrite.
void update(const std::filesystem::path& file, std::span<const Provider> providers,
            std::string_view key) {
    // Two threads saving different keys must not each rewrite the file from the same old copy.
    std::lock_guard lock(fileMutex());
    Contents contents = load(file);
    // A file that exists but cannot be read may hold other keys that a rewrite would drop.
    if (contents.state == State::unreadable)
        return;
    Json& object = contents.object;
    bool changed = contents.state == State::damaged;
    for (Provider provider : providers) {
        const std::string name(rawValue(provider));
        if (key.empty()) {
            changed = object.erase(name) > 0 || changed;
        } else if (const auto entry = object.find(name);
                   entry == object.end() || !entry->is_string() ||
                   entry->get_ref<const std::string&>() != key) {
            object[name] = std::string(key);
            changed = true;
        }
    }
    if (changed) {
        if (object.empty()) {
            ::unlink(file.c_str());
        } else {
            std::string text = object.dump(4) + "\n";
            writeAtomically(file, text);
            wipe(text);
        }
    }
    wipeKeys(object);
}

}  // namespace

std::optional<std::string> read(const std::filesystem::path& file, Provider provider) {
    Contents contents = load(file);
    std::optional<std::string> key;
    if (const auto entry = contents.object.find(std::string(rawValue(provider)));
        entry != contents.object.end() && entry->is_string() &&
        !entry->get_ref<const std::string&>().empty()) {
        key = entry->get<std::string>();
    }
    wipeKeys(contents.object);
    return key;
}

void write(const std::filesystem::path& file, Provider provider, std::string_view key) {
    update(file, std::span<const Provider>(&provider, 1), key);
}

void removeAll(const std::filesystem::path& file) {
    update(file, allProviders, {});
}

}  // namespace lumenary::KeyFileStore
