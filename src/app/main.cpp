#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "CommandLine.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    try {
        const int code = lumenary::CommandLine::run(std::vector<std::string>(argv, argv + argc),
                                                    std::cout, std::cerr);
        std::cout.flush();
        return code;
    } catch (const std::bad_alloc&) {
        // An archive far larger than this machine's memory: say so instead of aborting.
        std::cout.flush();
        std::cerr << "lumenary: not enough memory to finish.\n";
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "lumenary: " << error.what() << '\n';
    }
    return 1;
}
