#include "cli/command_line.h"

#include <iostream>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string_view> args(argv + 1, argv + argc);
    return quorlen::cli::runCommandLine(args, std::cout, std::cerr);
}
