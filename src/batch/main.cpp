// tracknoise: noise of a moving source at receivers, from a run script.
#include <iostream>
#include <string>
#include <vector>

#include "batch/program.h"
#include "io/staged_file.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    tn::keep_freed_heap();
    tn::install_interrupt_handlers("tracknoise");
    std::vector<std::string> args(argv, argv + argc);
    return tn::run_program(args, std::cout, std::cerr);
}
