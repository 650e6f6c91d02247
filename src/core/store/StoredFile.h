#pragma once
// Reading the store's files whole, telling a missing file from one that is there but cannot be
// read: the first is a fresh start, the second may be the only copy of something and must not be
// written over. Blocking; thread-safe.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

#include "common/Expected.h"

namespace lumenary {

enum class FileProblem {
    absent,      // no file of that name
    unreadable,  // there, but opening or reading it failed (permissions, an I/O error, a folder)
    malformed,   // read, but its content does not decode
};

/// Reads all of `file` into the buffer that `allocate(size)` returns, which must hold at least
/// `size` bytes, and gives the number of bytes read (fewer than asked when the file shrank while
/// being read; a file that grows is read up to its size when opened).
Expected<std::size_t, FileProblem> readStoredFile(
    const std::filesystem::path& file, const std::function<char*(std::size_t)>& allocate);

/// The whole content of `file` as text.
Expected<std::string, FileProblem> readStoredText(const std::filesystem::path& file);

}  // namespace lumenary
