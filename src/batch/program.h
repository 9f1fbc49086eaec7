// Start of the program, the command loop of the run script, and the directories file.
//
// Run script: fixed-column commands read in columns 1 to 4, case-sensitive: "open"/"Open" (one line
// with the control file), "grid"/"Grid" and "site" (lines of their own, read by the runs),
// "stop" and "end" (with a blank in column 4). Any other line is skipped, so that it serves as a
// comment; columns 5 onward of a command line are ignored.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "batch/session.h"

namespace tn {

// How the program runs: alone (the defaults), or as one process of several.
struct ProgramSetting {
    std::string name = "tracknoise";     // begins every message and the --version line
    std::string usage;                   // the --help text; empty: the program's own
    int default_threads = 0;             // threads without --threads; 0: the number of cores
    ReceiverRunner* runner = nullptr;    // receivers spread over processes; null: this one alone
    bool writes_results = true;          // false: this process writes no result file
};

// Runs the program with its arguments (argument 0 is the program's path). Console output goes to
// `out`, diagnostics to `err`. Returns the exit code: 0 for a normal end, non-zero for any stop
// with a failure.
int run_program(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                const ProgramSetting& setting = {});

// The program's name and version, "tracknoise 0.1.0", as --version prints it.
std::string program_and_version();

// Sets the C library's heap for the process's life, before any run: zlib, beneath the NetCDF
// writer, takes about 270 KB and gives it back for every chunk it compresses. By default the C
// library hands that heap top back to the system each time and takes it again for the next chunk
// (four system calls and freshly zeroed pages per chunk, tripling the run time of a NetCDF grid
// run); up to 64 MB of freed heap is kept instead. For a program's main, not for tests.
void keep_freed_heap();

// The command loop over the open script.
void command_loop(Session& s);

}  // namespace tn
