// tracknoise: noise of a moving source at receivers, from a run script.
#include <malloc.h>

#include <iostream>
#include <string>
#include <vector>

#include "batch/program.h"
#include "io/staged_file.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
#ifdef M_TRIM_THRESHOLD
    // zlib, beneath the NetCDF writer, takes about 270 KB and gives it back for every chunk it
    // compresses. By default the C library hands that heap top back to the system each time and
    // takes it again for the next chunk (four system calls and freshly zeroed pages per chunk,
    // tripling the run time of a NetCDF grid run); up to 64 MB of freed heap is kept instead.
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
    tn::install_interrupt_handlers("tracknoise");
    std::vector<std::string> args(argv, argv + argc);
    return tn::run_program(args, std::cout, std::cerr);
}
