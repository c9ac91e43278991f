#include "cli/command_line.h"
#include "cli/output_buffer.h"

#include <cstring>
#include <iostream>
#include <new>
#include <string_view>
#include <unistd.h>
#include <vector>

int main(int argc, char** argv) {
    using namespace quorlen::cli;
    occupyClosedStandardDescriptors();
    const std::vector<std::string_view> args(argv + 1, argv + argc);
    OutputBuffer outBuffer(STDOUT_FILENO);
    std::ostream out(&outBuffer);
    int status = kExitFailed;
    try {
        status = runCommandLine(args, out, std::cerr);
    } catch (const std::bad_alloc&) {
        // What could be printed has been; the rest had no memory to run in.
        out.flush();
        std::cerr << "quorlen: not enough memory\n";
    }
    out.flush();
    if (outBuffer.error() != 0) {
        std::cerr << "quorlen: cannot write the output: " << std::strerror(outBuffer.error())
                  << '\n';
        if (status == kExitOk)
            status = kExitFailed;
    }
    return status;
}
