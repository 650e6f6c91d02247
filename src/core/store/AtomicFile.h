#pragma once
// Replacing a file so that it is never seen half written: the new content goes to a temporary file
// in the same folder, is flushed to the disk and then renamed over the old one. A crash, a full
// disk or a read-only folder at any step leaves the old file exactly as it was.
//
// Blocking; one caller at a time per target. Failures come back as std::error_code values (the
// errno of the step that failed); nothing throws except std::bad_alloc.

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace lumenary {

class AtomicFile {
public:
    /// What the final rename may do to a file already at the target.
    enum class Existing { replace, keep };

    /// Creates the temporary file beside `target` (a hidden name starting with "." + the target's
    /// name). When that fails, every later call fails with the same error and nothing is created.
    explicit AtomicFile(std::filesystem::path target);
    /// Removes the temporary file unless commit() succeeded.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Adds `bytes` to the new content. Buffered; the first failure is kept and reported by
    /// commit(), and later appends are ignored.
    void append(std::string_view bytes);

    /// The first failure so far, so a caller can skip producing content that cannot be written.
    std::error_code error() const { return error_; }

    /// Writes what is buffered, flushes the file to the disk and renames it to the target. With
    /// Existing::keep an existing target is left alone and the result is
    /// std::errc::file_exists. On failure the temporary file is gone and the target untouched.
    /// Call at most once.
    ///
    /// The folder is not flushed: after a power cut the target holds either the old or the new
    /// content, whole. Flushing it would make every save wait for a second journal commit, and
    /// on ext4 a commit waits for every other program's pending writes (up to tens of
    /// milliseconds during a build). Use syncFolder() where the new name must be on the disk
    /// before what follows.
    std::error_code commit(Existing existing = Existing::replace);

private:
    void flushBuffer();

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    int descriptor_ = -1;
    std::error_code error_;
    std::string buffer_;
    bool committed_ = false;
};

/// Replaces `target` with `content` through an AtomicFile.
std::error_code writeFileAtomically(const std::filesystem::path& target, std::string_view content);

/// Copies `source` to `target` through an AtomicFile. With Existing::keep an existing target is
/// never overwritten (std::errc::file_exists).
std::error_code copyFileAtomically(const std::filesystem::path& source,
                                   const std::filesystem::path& target,
                                   AtomicFile::Existing existing);

/// Flushes the entries of `folder` (renames and new names in it) to the disk.
std::error_code syncFolder(const std::filesystem::path& folder);

/// Renames `from` to `to` unless something is already at `to` (std::errc::file_exists), also on
/// file systems whose rename cannot refuse to replace.
std::error_code renameWithoutReplacing(const std::filesystem::path& from,
                                       const std::filesystem::path& to);

}  // namespace lumenary
