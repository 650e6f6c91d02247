#pragma once
// Helpers shared by the tests: where the project's files are, a private temporary folder, and a
// way to run the built program and read what it printed.

#include <filesystem>
#include <string_view>
#include <utility>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "common/Uuid.h"
#include "importer/ChatMessage.h"

namespace lumenary::testing {

/// The checkout's root folder.
std::filesystem::path sourceDir();
/// tests/data.
std::filesystem::path testData(const std::string& name);
/// The built `lumenary` program.
std::filesystem::path programPath();

/// A fresh empty folder, removed with everything in it when the object goes.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// Writes `bytes` to a file in the folder and gives its path.
    std::filesystem::path write(const std::string& name, const std::string& bytes) const;

private:
    std::filesystem::path path_;
};

struct ProgramRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// Runs the built program with `arguments` (no shell involved) and waits for it.
ProgramRun runProgram(const std::vector<std::string>& arguments);

/// A fixed id named by `label`, for test archives that refer to messages by name.
Uuid labelledId(std::string_view label);

/// `prefix` followed by the decimal digits of `n` ("R12").
std::string numbered(const char* prefix, long long n);

/// Each message as its (sender, text) pair, for comparing what an import kept.
std::vector<std::pair<std::string, std::string>> sendersAndTexts(
    const std::vector<ChatMessage>& messages);

/// The keys of a JSON object, in their order.
std::vector<std::string> keys(const nlohmann::ordered_json& object);

/// The whole content of a file, or "" when it cannot be read.
std::string readFile(const std::filesystem::path& path);

}  // namespace lumenary::testing
