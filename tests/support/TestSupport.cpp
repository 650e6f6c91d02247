#include "TestSupport.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace lumenary::testing {

namespace fs = std::filesystem;

// The build writes these paths into every test program.
fs::path sourceDir() { return LUMENARY_SOURCE_DIR; }
fs::path testData(const std::string& name) { return fs::path(LUMENARY_TEST_DATA) / name; }
fs::path programPath() { return LUMENARY_BINARY; }

TemporaryFolder::TemporaryFolder() {
    std::random_device random;
    path_ = fs::temp_directory_path() / ("lumenary-test-" + std::to_string(random()));
    fs::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path TemporaryFolder::write(const std::string& name, const std::string& bytes) const {
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
}

Uuid labelledId(std::string_view label) {
    // FNV-1a over the label: distinct short labels give distinct ids.
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char c : label) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
    return Uuid{hash, label.size()};
}

std::string numbered(const char* prefix, long long n) {
    // Written with += because GCC 12 at -O3 warns falsely about "literal" + std::string.
    std::string text = prefix;
    text += std::to_string(n);
    return text;
}

std::vector<std::pair<std::string, std::string>> sendersAndTexts(
    const std::vector<ChatMessage>& messages) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const ChatMessage& message : messages) out.emplace_back(message.sender, message.text);
    return out;
}

std::vector<std::string> keys(const nlohmann::ordered_json& object) {
    std::vector<std::string> result;
    for (const auto& [key, value] : object.items()) result.push_back(key);
    return result;
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

ProgramRun runProgram(const std::vector<std::string>& arguments) {
    TemporaryFolder capture;
    const fs::path outPath = capture.path() / "out";
    const fs::path errPath = capture.path() / "err";

    std::vector<std::string> argv{programPath().string()};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (auto& argument : argv) pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    ProgramRun run;
    if (posix_spawn(&pid, pointers[0], &actions, nullptr, pointers.data(), environ) == 0) {
        int status = 0;
        waitpid(pid, &status, 0);
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    run.out = readFile(outPath);
    run.err = readFile(errPath);
    return run;
}

}  // namespace lumenary::testing
