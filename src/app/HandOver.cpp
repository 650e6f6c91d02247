#include "HandOver.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>

namespace lumenary::HandOver {

int toWholeProgram(const std::vector<std::string>& args, std::ostream& err) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    const fs::path whole = self.parent_path() / kWholeProgram;
    std::vector<char*> argv;
    argv.reserve(args.size() + 1);
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    err.flush();
    if (!error)
        execv(whole.c_str(), argv.data());
    const int why = error ? error.value() : errno;
    err << "lumenary: could not start " << whole.string() << ": " << std::strerror(why)
        << ". Reinstalling Lumenary should bring it back.\n";
    return 1;
}

}  // namespace lumenary::HandOver
