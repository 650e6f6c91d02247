#include "store/AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

namespace lumenary {
namespace {

// Large enough that a million-message archive goes out in a few hundred system calls, small
// enough not to matter beside the archive itself.
constexpr std::size_t kBufferSize = 1 << 20;

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// Writes all of `bytes`, resuming after interruptions and short writes (a file growing past a
// size limit writes what fits, then fails with EFBIG).
std::error_code writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return lastError();
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

std::filesystem::path folderOf(const std::filesystem::path& file) {
    const std::filesystem::path parent = file.parent_path();
    return parent.empty() ? std::filesystem::path(".") : parent;
}

}  // namespace

AtomicFile::AtomicFile(std::filesystem::path target) : target_(std::move(target)) {
    // Built with += because GCC 12 at -O3 warns falsely about "literal" + std::string.
    std::string name = ".";
    name += target_.filename().string();
    name += ".XXXXXX";
    const std::string pattern = (folderOf(target_) / name).string();
    std::vector<char> writable(pattern.begin(), pattern.end());
    writable.push_back('\0');
    descriptor_ = ::mkostemp(writable.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        error_ = lastError();
        return;
    }
    temporary_ = writable.data();
}

AtomicFile::~AtomicFile() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
    if (!committed_ && !temporary_.empty())
        ::unlink(temporary_.c_str());
}

void AtomicFile::append(std::string_view bytes) {
    if (error_)
        return;
    if (buffer_.size() + bytes.size() > kBufferSize) {
        flushBuffer();
        if (error_)
            return;
        if (bytes.size() >= kBufferSize) {
            error_ = writeAll(descriptor_, bytes);
            return;
        }
    }
    if (buffer_.capacity() < kBufferSize)
        buffer_.reserve(kBufferSize);
    buffer_.append(bytes);
}

void AtomicFile::flushBuffer() {
    if (!error_ && !buffer_.empty())
        error_ = writeAll(descriptor_, buffer_);
    buffer_.clear();
}

std::error_code AtomicFile::commit(Existing existing) {
    flushBuffer();
    if (!error_ && ::fsync(descriptor_) != 0)
        error_ = lastError();
    if (descriptor_ >= 0) {
        // close() can report a write the kernel deferred (on network file systems).
        if (::close(descriptor_) != 0 && !error_)
            error_ = lastError();
        descriptor_ = -1;
    }
    if (error_)
        return error_;
    if (existing == Existing::keep) {
        error_ = renameWithoutReplacing(temporary_, target_);
    } else if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
        error_ = lastError();
    }
    if (error_)
        return error_;
    committed_ = true;
    return {};
}

std::error_code writeFileAtomically(const std::filesystem::path& target, std::string_view content) {
    AtomicFile file(target);
    file.append(content);
    return file.commit();
}

std::error_code copyFileAtomically(const std::filesystem::path& source,
                                   const std::filesystem::path& target,
                                   AtomicFile::Existing existing) {
    const int input = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (input < 0)
        return lastError();
    std::error_code error;
    {
        AtomicFile file(target);
        std::vector<char> chunk(kBufferSize);
        while (true) {
            const ssize_t got = ::read(input, chunk.data(), chunk.size());
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0) {
                error = lastError();
                break;
            }
            if (got == 0)
                break;
            file.append(std::string_view(chunk.data(), static_cast<std::size_t>(got)));
        }
        if (!error)
            error = file.commit(existing);
    }
    ::close(input);
    return error;
}

std::error_code syncFolder(const std::filesystem::path& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return lastError();
    std::error_code error;
    if (::fsync(descriptor) != 0)
        error = lastError();
    ::close(descriptor);
    return error;
}

std::error_code renameWithoutReplacing(const std::filesystem::path& from,
                                       const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return lastError();
    // The file system cannot refuse to replace (older network and FUSE file systems): a hard
    // link can, and where links are not supported either, look first.
    if (::link(from.c_str(), to.c_str()) == 0) {
        ::unlink(from.c_str());
        return {};
    }
    if (errno == EEXIST)
        return std::make_error_code(std::errc::file_exists);
    std::error_code ignored;
    if (std::filesystem::symlink_status(to, ignored).type() !=
        std::filesystem::file_type::not_found) {
        return std::make_error_code(std::errc::file_exists);
    }
    if (::rename(from.c_str(), to.c_str()) != 0)
        return lastError();
    return {};
}

}  // namespace lumenary
