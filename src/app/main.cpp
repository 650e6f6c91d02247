#include <iostream>
#include <string>
#include <vector>

#include "CommandLine.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    const int code =
        lumenary::CommandLine::run(std::vector<std::string>(argv, argv + argc), std::cout, std::cerr);
    std::cout.flush();
    return code;
}
