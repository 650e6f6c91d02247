#include "CommandLine.h"

int main(int argc, char** argv) {
    return lumenary::CommandLine::run(std::vector<std::string>(argv, argv + argc));
}
