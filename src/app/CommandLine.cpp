#include "CommandLine.h"

#include <algorithm>
#include <ostream>

#include "SelfTest.h"

namespace lumenary::CommandLine {
namespace {

std::string joinFrom(const std::vector<std::string>& args, std::size_t first) {
    std::string joined;
    for (std::size_t i = first; i < args.size(); ++i) {
        if (i > first) joined += ' ';
        joined += args[i];
    }
    return joined;
}

// The model modes, the login item and the desktop come with later work. Until then they say so
// plainly instead of pretending to run.
int notInThisBuild(const std::string& what, std::ostream& err) {
    err << "lumenary: " << what << " is not in this build yet.\n";
    return 1;
}

int startApplication(std::ostream& err) {
    return notInThisBuild("the desktop application", err);
}

}  // namespace

SelfTestArguments selfTestArguments(const std::vector<std::string>& args) {
    SelfTestArguments parsed;
    parsed.path = args.size() > 2 ? args[2] : "";
    std::vector<std::string> remaining(args.begin() + std::min<std::size_t>(3, args.size()),
                                       args.end());
    while (remaining.size() >= 2 && remaining[0] == "--as") {
        parsed.speakerHint = remaining[1];
        remaining.erase(remaining.begin(), remaining.begin() + 2);
    }
    if (!remaining.empty()) parsed.query = joinFrom(remaining, 0);
    return parsed;
}

std::optional<DemoArguments> demoArguments(const std::vector<std::string>& args) {
    const auto demo = std::find(args.begin(), args.end(), "--demo");
    if (demo == args.end()) return std::nullopt;
    DemoArguments parsed{"docs/sample-chat.txt", std::nullopt};
    const auto path = std::find_if(demo + 1, args.end(),
                                   [](const std::string& arg) { return !arg.starts_with("--"); });
    if (path != args.end()) parsed.exportPath = *path;
    const auto as = std::find(args.begin(), args.end(), "--as");
    if (as != args.end() && as + 1 != args.end()) parsed.preferredName = *(as + 1);
    return parsed;
}

int run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const std::size_t n = args.size();
    if (n >= 2) {
        const std::string& first = args[1];
        if (first == "--selftest") {
            if (n == 2) {
                out << kSelfTestUsage << '\n';
                return 2;
            }
            const SelfTestArguments selfTest = selfTestArguments(args);
            return SelfTest::run(selfTest.path, selfTest.speakerHint, selfTest.query, out);
        }
        if (first == "--ping") return notInThisBuild("--ping", err);
        if (first == "--ask" && n != 2) return notInThisBuild("--ask", err);
        if (first == "--unregister-login-item") {
            return notInThisBuild("--unregister-login-item", err);
        }
        // The design-preview switches arrive with the desktop; until then they start the
        // application like any other unknown argument.
    }
    if (demoArguments(args)) return notInThisBuild("--demo", err);
    return startApplication(err);
}

}  // namespace lumenary::CommandLine
