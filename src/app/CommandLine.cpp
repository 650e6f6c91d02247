#include "CommandLine.h"

namespace lumenary::CommandLine {

int run(const std::vector<std::string>&) { return 1; }

}  // namespace lumenary::CommandLine
