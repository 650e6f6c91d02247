#include "CommandLine.h"

#include <algorithm>
#include <ostream>

#include "Application.h"
#include "DemoSeed.h"
#include "ModelModes.h"

namespace lumenary::CommandLine {
namespace {

std::string joinFrom(const std::vector<std::string>& args, std::size_t first) {
    std::string joined;
    for (std::size_t i = first; i < args.size(); ++i) {
        if (i > first)
            joined += ' ';
        joined += args[i];
    }
    return joined;
}

int startApplication(const std::vector<std::string>& args, std::ostream& err) {
    return Application::run(args, err);
}

}  // namespace

std::optional<DemoArguments> demoArguments(const std::vector<std::string>& args) {
    const auto demo = std::find(args.begin(), args.end(), "--demo");
    if (demo == args.end())
        return std::nullopt;
    DemoArguments parsed;
    const auto as = std::find(args.begin(), args.end(), "--as");
    const auto name = as == args.end() ? args.end() : as + 1;
    if (name != args.end())
        parsed.preferredName = *name;
    for (auto arg = demo + 1; arg != args.end(); ++arg) {
        if (arg != name && !arg->starts_with("--")) {
            parsed.exportPath = *arg;
            break;
        }
    }
    return parsed;
}

int run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const std::size_t n = args.size();
    if (n >= 2) {
        const std::string& first = args[1];
        if (first == "--selftest")
            return runSelfTest(args, out);
        if (first == "--ping")
            return ModelModes::ping(n == 2 ? "ping" : joinFrom(args, 2), out);
        if (first == "--ask" && n != 2)
            return ModelModes::ask(joinFrom(args, 2), out);
        if (first == "--unregister-login-item")
            return ModelModes::unregisterLoginItem(err);
        if (n >= 3) {
            if (first == "--screens")
                return Preview::screens(args[2], err);
            if (first == "--variants")
                return Preview::variants(args[2], err);
            if (first == "--render")
                return Preview::render(args[2], err);
        }
        // "--traits", "--portrait" and "--hero" are not drawn by this build; like any other
        // argument they start the application.
    }
    if (const auto demo = demoArguments(args)) {
        if (DemoSeed::seed(demo->exportPath, demo->preferredName, out, err) != 0)
            return 1;
        out.flush();
    }
    return startApplication(args, err);
}

}  // namespace lumenary::CommandLine
