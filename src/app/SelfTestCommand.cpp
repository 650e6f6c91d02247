#include "SelfTestCommand.h"

#include <algorithm>
#include <ostream>

#include "SelfTest.h"
#include "text/TextRules.h"

namespace lumenary::CommandLine {

SelfTestArguments selfTestArguments(const std::vector<std::string>& args) {
    SelfTestArguments parsed;
    parsed.path = args.size() > 2 ? args[2] : "";
    std::vector<std::string> remaining(args.begin() + std::min<std::size_t>(3, args.size()),
                                       args.end());
    while (remaining.size() >= 2 && remaining[0] == "--as") {
        parsed.speakerHint = remaining[1];
        remaining.erase(remaining.begin(), remaining.begin() + 2);
    }
    if (!remaining.empty())
        parsed.query = text::join(remaining, " ");
    return parsed;
}

int runSelfTest(const std::vector<std::string>& args, std::ostream& out) {
    if (args.size() <= 2) {
        out << kSelfTestUsage << '\n';
        return 2;
    }
    const SelfTestArguments selfTest = selfTestArguments(args);
    return SelfTest::run(selfTest.path, selfTest.speakerHint, selfTest.query, out);
}

}  // namespace lumenary::CommandLine
