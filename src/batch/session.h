// The command level of a run: the program's own buffers, the run script and the case, as one record
// owned by the program and passed by reference. The result files belong to the writer of each run.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "batch/case_state.h"
#include "io/console.h"
#include "io/fixed_text.h"
#include "io/text_file.h"
#include "path/dispatch.h"
#include "path/nord_library.h"

namespace tn {

class ReceiverRunner;

struct Session {
    explicit Session(std::ostream& out) : console(out) {}

    Console console;            // plain and progress console, both on standard output

    Name255 Exedir;             // the program's folder, no trailing separator
    Name255 Dirfile;            // Exedir + "/rnd/directories.ini"
    Name255 Scriptfile;
    Name255 Ctlfile{"none"};    // the current control file
    Name255 Runbase;            // base name of the latest run
    Name255 Runout;             // Runbase + the output extension

    TextFile script;            // the run script, open for the whole run
    int threads = 1;            // receivers computed at once
    ReceiverRunner* runner = nullptr;   // receivers spread over processes; null: this process alone
    bool writes_results = true;         // false: one of several processes, which writes no file

    bool case_open = false;     // an `open` has set up the case
    long open_line = 0;         // script line of that `open`
    CaseState cs;
    Kept kept;
    bool Reload = true;         // the source tables must be read again
    const HEMIREC* current_hemi = nullptr;   // the hemisphere loaded last
    std::unique_ptr<NordLibrary> nord;       // the library of the weather path, when in force
    PathModel model;

    std::string run_output;     // the result file a run is writing, while it writes; for messages
    std::ostream* warnings = nullptr;   // standard error in the program; none in tests and fuzzing
    std::string program = "tracknoise";   // the name that begins messages and warnings
};

// One warning line on the warning stream: "tracknoise: warning: " (the program's name) and the text. The run goes on;
// standard output, the console of the system, is not touched.
inline void warn(Session& s, const std::string& text) {
    if (s.warnings) *s.warnings << s.program << ": warning: " << text << '\n' << std::flush;
}

}  // namespace tn
