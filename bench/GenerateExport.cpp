// Writes a synthetic chat export to a file, for the whole-program measurements of
// scripts/run-benchmarks and for looking at what the benchmarks read.
//
//   lumenary-generate-export <message count> <bracketed|dash|spanish> <seed> <output file>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "ExportGenerator.h"

int main(int argc, char** argv) {
    using namespace lumenary;
    ExportGenerator::Layout layout{};
    char* countEnd = nullptr;
    char* seedEnd = nullptr;
    const unsigned long long count = argc == 5 ? std::strtoull(argv[1], &countEnd, 10) : 0;
    const unsigned long long seed = argc == 5 ? std::strtoull(argv[3], &seedEnd, 10) : 0;
    if (argc != 5 || *countEnd != '\0' || *seedEnd != '\0' ||
        !ExportGenerator::parseLayout(argv[2], layout)) {
        std::cerr << "usage: lumenary-generate-export <message count> <bracketed|dash|spanish> <seed> "
                     "<output file>\n";
        return 2;
    }
    const std::string text = ExportGenerator::generate(count, layout, seed);
    std::ofstream file(argv[4], std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file) {
        std::cerr << "could not write " << argv[4] << "\n";
        return 1;
    }
    std::cout << count << " messages, " << text.size() << " bytes\n";
    return 0;
}
