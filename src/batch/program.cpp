#include "batch/program.h"

#include <malloc.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <thread>

#include "batch/runs.h"
#include "batch/setup.h"
#include "io/clock.h"
#include "io/errors.h"
#include "io/files.h"
#include "io/staged_file.h"
#include "io/fixed_fields.h"
#include "io/list_input.h"

#ifndef TN_VERSION
#define TN_VERSION "0.1.0"
#endif

namespace tn {

namespace {

const char* const kUsage =
    "Usage: tracknoise [--threads N] SCRIPT\n"
    "Computes the noise of a moving source at receivers, as the run script SCRIPT says.\n"
    "  --threads N   receivers computed at once (default: the number of cores; 1 runs in order)\n"
    "  --help        this text\n"
    "  --version     the program's version\n";

// The line that tells a failed run's result file was not written.
std::string not_written(const std::string& program, const std::string& name) {
    std::string line = program + ": " + name + " was not written";
    if (earlier_result_exists(name)) line += " (an earlier " + name + " is unchanged)";
    return line + "\n";
}

int default_threads() {
    const unsigned n = std::thread::hardware_concurrency();
    return n > 0 ? static_cast<int>(n) : 1;
}

}  // namespace

void keep_freed_heap() {
#ifdef M_TRIM_THRESHOLD
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
}

std::string program_and_version() { return std::string("tracknoise ") + TN_VERSION; }

void command_loop(Session& s) {
    std::string_view rec;
    while (s.script.next_record(rec) == IoStatus::Ok) {
        const FixedText<4> Cmd(field(rec, 1, 4));
        const long line = s.script.record_number();
        if (Cmd == "open" || Cmd == "Open") {
            if (s.case_open) {
                throw file_error(s.script.name(), line,
                                 "a run script holds one case: a second \"open\" (the first stands at line " +
                                     std::to_string(s.open_line) + "); run each case with a script of its own");
            }
            s.Ctlfile = read_name_columns(s.script, s.script.record_or_fail("the control file's name on the line after \"open\""),
                                          "the control file's name");
            s.console.line("Opening control file " + std::string(s.Ctlfile.padded()));
            s.case_open = true;
            s.open_line = line;
            CASESETUP(s);
            continue;
        }
        if (Cmd == "grid" || Cmd == "Grid" || Cmd == "site") {
            if (!s.case_open) {
                throw file_error(s.script.name(), line,
                                 "\"" + std::string(Cmd.trimmed()) + "\" before any \"open\": no case is set up to run");
            }
            if (Cmd == "site") site_run(s);
            else grid_run(s);
            continue;
        }
        if (Cmd == "stop" || Cmd == "end") break;
        // any other line is a comment
    }
}

int run_program(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                const ProgramSetting& setting) {
    const std::string& name = setting.name;
    const std::string usage = setting.usage.empty() ? std::string(kUsage) : setting.usage;
    // Options first; what remains is argument 0, the script, and arguments that are ignored.
    std::vector<std::string> rest;
    int threads = setting.default_threads > 0 ? setting.default_threads : default_threads();
    for (std::size_t k = 0; k < args.size(); ++k) {
        const std::string& a = args[k];
        if (k > 0 && a == "--help") {
            out << usage;
            return 0;
        }
        if (k > 0 && a == "--version") {
            out << name << ' ' << TN_VERSION << '\n';
            return 0;
        }
        if (k > 0 && (a == "--threads" || a.rfind("--threads=", 0) == 0)) {
            std::string v;
            if (a == "--threads") {
                if (k + 1 >= args.size()) {
                    err << name << ": --threads needs a number\n" << usage;
                    return 2;
                }
                v = args[++k];
            } else {
                v = a.substr(10);
            }
            char* end = nullptr;
            const long n = std::strtol(v.c_str(), &end, 10);
            if (v.empty() || *end != '\0' || n < 1 || n > 1024) {
                err << name << ": --threads needs a whole number from 1 to 1024, found '" << v << "'\n";
                return 2;
            }
            threads = static_cast<int>(n);
            continue;
        }
        rest.push_back(a);
    }

    Session s(out);
    s.threads = threads;
    // Warnings are the writing process's: other processes of a spread run repeat its set-up, and
    // their own view of a run (no receivers emitted there) would only mislead.
    s.warnings = setting.writes_results ? &err : nullptr;
    s.program = name;
    s.runner = setting.runner;
    s.writes_results = setting.writes_results;
    // Argument 0 as the 255-character field that holds it.
    const Name255 arg0(rest.empty() ? std::string() : rest[0]);
    const std::string argv0(arg0.trimmed());
    try {
        // The program's path on the progress console, as a list-style write of the whole field.
        s.console.progress(" " + std::string(arg0.padded()));
        // The program's folder: before the last '/' of argument 0; blank when that stands in column
        // 1; the running executable's folder when argument 0 names no folder (found through PATH).
        const std::size_t slash = argv0.rfind('/');
        if (slash == std::string::npos) s.Exedir = program_folder(argv0);
        else if (slash == 0) s.Exedir = "";
        else s.Exedir = argv0.substr(0, slash);
        s.Dirfile = std::string(s.Exedir.trimmed()) + "/rnd/directories.ini";

        check_source_date_epoch();
        if (rest.size() < 2) throw RunError("no run script given\n" + usage, "Error!!!  No Script File Detected");
        s.Scriptfile = rest[1];
        s.script.open(rest[1]);
        command_loop(s);
        s.console.end_progress();
        return 0;
    } catch (const RunError& e) {
        s.console.end_progress();
        if (!e.console().empty()) out << e.console() << '\n';
        out.flush();
        err << name << ": " << e.what() << '\n';
        if (!s.run_output.empty()) err << not_written(name, s.run_output);
        return e.exit_code();
    } catch (const std::bad_alloc&) {
        s.console.end_progress();
        out.flush();
        err << name << ": out of memory: the case asks for more memory than this machine can give\n";
        if (!s.run_output.empty()) err << not_written(name, s.run_output);
        return 1;
    } catch (const std::exception& e) {
        // Not expected: still a message and a removed partial file rather than an abort.
        s.console.end_progress();
        out.flush();
        err << name << ": internal error: " << e.what() << '\n';
        if (!s.run_output.empty()) err << not_written(name, s.run_output);
        return 1;
    }
}

}  // namespace tn
