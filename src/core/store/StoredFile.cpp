#include "store/StoredFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace lumenary {
namespace {

FileProblem problemFor(int error) {
    return error == ENOENT ? FileProblem::absent : FileProblem::unreadable;
}

// Closes the descriptor on every way out.
struct Descriptor {
    int value;
    ~Descriptor() {
        if (value >= 0)
            ::close(value);
    }
};

}  // namespace

Expected<std::size_t, FileProblem> readStoredFile(
    const std::filesystem::path& file, const std::function<char*(std::size_t)>& allocate) {
    const Descriptor input{::open(file.c_str(), O_RDONLY | O_CLOEXEC)};
    if (input.value < 0)
        return unexpected(problemFor(errno));
    struct stat info {};
    if (::fstat(input.value, &info) != 0)
        return unexpected(FileProblem::unreadable);
    if (!S_ISREG(info.st_mode))
        return unexpected(FileProblem::unreadable);
    const auto size = static_cast<std::size_t>(info.st_size);
    char* buffer = allocate(size);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::read(input.value, buffer + done, size - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return unexpected(FileProblem::unreadable);
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

Expected<std::string, FileProblem> readStoredText(const std::filesystem::path& file) {
    std::string text;
    auto read = readStoredFile(file, [&](std::size_t size) {
        text.resize(size);
        return text.data();
    });
    if (!read)
        return unexpected(read.error());
    text.resize(*read);
    return text;
}

}  // namespace lumenary
