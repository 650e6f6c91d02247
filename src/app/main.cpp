// The whole program, lumenary-app: every mode of the command line and the desktop application.
// People run the light front, `lumenary`, which hands all but the self-test over to this one.

#include <iostream>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "ProgramMain.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    lumenary::ProgramMain::survivesFileSizeLimit();
    const std::vector<std::string> args(argv, argv + argc);
    return lumenary::ProgramMain::reportingFailures(
        [&] { return lumenary::CommandLine::run(args, std::cout, std::cerr); }, std::cout,
        std::cerr);
}
