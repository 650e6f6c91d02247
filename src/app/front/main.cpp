// The program people run, `lumenary`. The self-test, the mode that reads a whole archive, runs
// here; every other mode is handed over to the whole program (see HandOver.h for why).

#include <iostream>
#include <string>
#include <vector>

#include "HandOver.h"
#include "ProgramMain.h"
#include "SelfTestCommand.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    lumenary::ProgramMain::survivesFileSizeLimit();
    const std::vector<std::string> args(argv, argv + argc);
    if (args.size() < 2 || args[1] != "--selftest")
        return lumenary::HandOver::toWholeProgram(args, std::cerr);
    return lumenary::ProgramMain::reportingFailures(
        [&] { return lumenary::CommandLine::runSelfTest(args, std::cout); }, std::cout, std::cerr);
}
