#include "LoginItem.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <system_error>

#include "common/XdgPaths.h"

namespace lumenary::LoginItem {
namespace {

// Exec takes a command line: the program path goes in double quotes with the four characters
// that are special inside them escaped, and a literal percent sign doubled (field codes). The
// whole value is then a desktop-entry string, whose own escape character is the backslash.
std::string execValue(const std::string& program) {
    std::string quoted = "\"";
    for (char c : program) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            quoted += '\\';
        if (c == '%')
            quoted += '%';
        quoted += c;
    }
    quoted += '"';
    std::string escaped;
    for (char c : quoted) {
        if (c == '\\')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::filesystem::path runningProgram() {
    std::error_code error;
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path("lumenary") : program;
}

bool hidden(const std::filesystem::path& entry) {
    std::ifstream in(entry);
    std::string line;
    bool inMainGroup = false;
    while (std::getline(in, line)) {
        if (line.starts_with('[')) {
            inMainGroup = line == "[Desktop Entry]";
        } else if (inMainGroup && line.starts_with("Hidden")) {
            const auto equals = line.find('=');
            if (equals == std::string::npos)
                continue;
            std::string value = line.substr(equals + 1);
            while (!value.empty() && (value.back() == ' ' || value.back() == '\r'))
                value.pop_back();
            while (!value.empty() && value.front() == ' ')
                value.erase(0, 1);
            std::string key = line.substr(0, equals);
            while (!key.empty() && key.back() == ' ')
                key.pop_back();
            if (key == "Hidden")
                return value == "true";
        }
    }
    return false;
}

}  // namespace

std::filesystem::path entryPath() {
    return XdgPaths::configHome() / "autostart" / "lumenary.desktop";
}

Status status() {
    const std::filesystem::path entry = entryPath();
    std::error_code error;
    if (!std::filesystem::is_regular_file(entry, error))
        return Status::notRegistered;
    return hidden(entry) ? Status::notRegistered : Status::enabled;
}

std::string entryText(const std::filesystem::path& program) {
    std::ostringstream text;
    text << "[Desktop Entry]\n"
         << "Type=Application\n"
         << "Name=Lumenary\n"
         << "Comment=Keeps her company on your desktop\n"
         << "Exec=" << execValue(program.string()) << '\n'
         << "Terminal=false\n"
         << "X-GNOME-Autostart-enabled=true\n";
    return text.str();
}

std::optional<std::string> set(bool on) {
    const std::filesystem::path entry = entryPath();
    std::error_code error;
    if (!on) {
        std::filesystem::remove(entry, error);
        if (error)
            return error.message();
        return std::nullopt;
    }
    std::filesystem::create_directories(entry.parent_path(), error);
    if (error)
        return error.message();
    const std::filesystem::path temporary = entry.string() + ".new";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << entryText(runningProgram());
        out.flush();
        if (!out) {
            const std::string reason = std::strerror(errno);
            std::filesystem::remove(temporary, error);
            return reason;
        }
    }
    std::filesystem::rename(temporary, entry, error);
    if (error) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        return error.message();
    }
    return std::nullopt;
}

}  // namespace lumenary::LoginItem
