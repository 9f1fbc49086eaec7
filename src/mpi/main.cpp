// tracknoise-mpi: the program over the processes of an MPI job, with the receivers of each grid and
// site run spread over them (see spread.h). Result files are byte for byte those of tracknoise.
//
// Every process runs the script; rank 0 alone writes the console, standard error and the result
// files. The end of the job:
//   - each worker tells rank 0 that its script ended well (or sends its failure message);
//   - when all ended well, rank 0 says so and every process ends with exit code 0;
//   - after a failure anywhere, rank 0 prints it (a worker's with the rank and host that met it),
//     tells every worker to stop, takes every message still coming until each worker has said that
//     it stopped, and ends with the failure's exit code; the workers end with 0, so that the job's
//     code is rank 0's.
// A process that dies outright is the MPI launcher's to handle: it ends the others with SIGTERM,
// on which rank 0 removes the partial result file (io/staged_file.h).
#include <mpi.h>

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "batch/program.h"
#include "io/staged_file.h"
#include "mpi/blocks.h"
#include "mpi/comm.h"
#include "mpi/spread.h"

#ifndef TN_VERSION
#define TN_VERSION "0.1.0"
#endif

namespace {

using tn::mpi::Backoff;
using tn::mpi::Comm;
using tn::mpi::Message;

constexpr const char* kName = "tracknoise-mpi";

const char* const kUsage =
    "Usage: mpirun -np N tracknoise-mpi [--threads T] [--stats] SCRIPT\n"
    "Computes the noise of a moving source at receivers, as the run script SCRIPT says, with the\n"
    "receivers of each grid and site run spread over the N processes of the MPI job. The result\n"
    "files are the same, byte for byte, as those of tracknoise; rank 0 writes them and the console.\n"
    "  --threads T   receivers computed at once by each process (default: the cores of its machine\n"
    "                shared among the job's processes there, at most the cores it is bound to)\n"
    "  --stats       at the start and the end of each spread run, rank 0 reports its timing, blocks,\n"
    "                messages, bytes, processor time of writing and memory on standard error\n"
    "  --help        this text\n"
    "  --version     the program's version\n";

// An output that keeps nothing: the console and stray messages of the workers.
class NullBuffer : public std::streambuf {
protected:
    int overflow(int c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

// Threads per process without --threads: the cores of the machine shared among the job's processes
// on it, and no more than the process is bound to.
int default_threads() {
    MPI_Comm node;
    MPI_Comm_split_type(MPI_COMM_WORLD, MPI_COMM_TYPE_SHARED, 0, MPI_INFO_NULL, &node);
    int here = 1;
    MPI_Comm_size(node, &here);
    MPI_Comm_free(&node);
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    long bound = online;
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) == 0) bound = CPU_COUNT(&set);
    const long share = (online > 0 ? online : 1) / (here > 0 ? here : 1);
    const long t = std::min(bound, share);
    return static_cast<int>(t < 1 ? 1 : t);
}

// Rank 0's SOURCE_DATE_EPOCH and TZ for every process: the date in the result files is the same
// whichever process computed a receiver, although remote processes get only part of the launcher's
// environment.
void share_date_environment(const Comm& comm) {
    std::string bytes;
    if (comm.rank() == 0) {
        for (const char* var : {"SOURCE_DATE_EPOCH", "TZ"}) {
            const char* v = std::getenv(var);
            bytes += v ? '1' : '0';
            bytes += v ? std::string(v) : std::string();
            bytes += '\0';
        }
    }
    int n = static_cast<int>(bytes.size());
    MPI_Bcast(&n, 1, MPI_INT, 0, MPI_COMM_WORLD);
    bytes.resize(static_cast<std::size_t>(n));
    MPI_Bcast(bytes.data(), n, MPI_BYTE, 0, MPI_COMM_WORLD);
    if (comm.rank() == 0) return;
    std::size_t pos = 0;
    for (const char* var : {"SOURCE_DATE_EPOCH", "TZ"}) {
        const std::size_t end = bytes.find('\0', pos);
        if (end == std::string::npos || end == pos) return;
        if (bytes[pos] == '1') setenv(var, bytes.substr(pos + 1, end - pos - 1).c_str(), 1);
        else unsetenv(var);
        pos = end + 1;
    }
    tzset();
}

std::string host_name() {
    char name[MPI_MAX_PROCESSOR_NAME] = {};
    int len = 0;
    MPI_Get_processor_name(name, &len);
    return std::string(name, static_cast<std::size_t>(len > 0 ? len : 0));
}

// Rank 0 after its script: see the head of this file. Returns the job's exit code.
int end_on_rank0(Comm& comm, int rc) {
    const int n = comm.size();
    Backoff backoff;
    if (rc == 0) {
        std::vector<bool> done(static_cast<std::size_t>(n), false);
        int left = n - 1;
        while (left > 0 && rc == 0) {
            Message m;
            if (!comm.poll(m)) {
                backoff.sleep();
                continue;
            }
            backoff.reset();
            if (m.tag == tn::mpi::kDone) {
                if (!done[static_cast<std::size_t>(m.source)]) --left;
                done[static_cast<std::size_t>(m.source)] = true;
            } else if (m.tag == tn::mpi::kError) {
                std::cerr << kName << ": " << tn::mpi::SpreadRunner::worker_failure(m).what() << '\n';
                rc = 1;
            } else {
                std::cerr << kName << ": internal fault of the job's messages: rank 0 met message " << m.tag
                          << " at the end; please report it\n";
                rc = 1;
            }
        }
        if (rc == 0) {
            for (int w = 1; w < n; ++w) comm.send(w, tn::mpi::kFinish, std::string());
            return 0;
        }
    }
    std::cerr.flush();
    for (int w = 1; w < n; ++w) comm.send(w, tn::mpi::kAbort, std::string());
    std::vector<bool> seen(static_cast<std::size_t>(n), false);
    int left = n - 1;
    while (left > 0) {
        Message m;
        if (!comm.poll(m)) {
            backoff.sleep();
            continue;
        }
        backoff.reset();
        if (m.tag == tn::mpi::kAbortSeen && !seen[static_cast<std::size_t>(m.source)]) {
            seen[static_cast<std::size_t>(m.source)] = true;
            --left;
        }
        // anything else (results, failures of other workers) is of no use now
    }
    return rc;
}

// A worker after its script: see the head of this file.
void end_on_worker(Comm& comm, int rc, const std::string& err, bool stopped) {
    if (rc == 0) comm.send(0, tn::mpi::kDone, std::string());
    else if (!stopped) comm.post(0, tn::mpi::kError, host_name() + "\n" + err);
    Backoff backoff;
    bool stop = stopped;
    while (!stop) {
        comm.sends_done();
        Message m;
        if (!comm.poll(m, 0)) {
            backoff.sleep();
            continue;
        }
        if (m.tag == tn::mpi::kFinish && rc == 0) return;
        if (m.tag == tn::mpi::kAbort) stop = true;
        // hand-outs and ends of runs that rank 0 sent before it stopped are dropped
    }
    while (!comm.sends_done()) backoff.sleep();   // rank 0 takes every message until all have stopped
    comm.send(0, tn::mpi::kAbortSeen, std::string());
}

}  // namespace

int main(int argc, char** argv) {
    tn::keep_freed_heap();
    int provided = 0;
    MPI_Init_thread(&argc, &argv, MPI_THREAD_FUNNELED, &provided);
    const double started = MPI_Wtime();
    if (provided < MPI_THREAD_FUNNELED) {
        std::cerr << kName << ": the MPI library cannot be used beside threads (MPI_THREAD_FUNNELED)\n";
        MPI_Abort(MPI_COMM_WORLD, 1);
    }
    int code = 0;
    {
        Comm comm;
        share_date_environment(comm);
        tn::ProgramSetting setting;
        setting.name = kName;
        setting.usage = kUsage;
        setting.default_threads = default_threads();
        setting.writes_results = comm.rank() == 0;

        std::vector<std::string> args;
        bool stats = false;
        for (int k = 0; k < argc; ++k) {
            if (k > 0 && std::string(argv[k]) == "--stats") stats = true;
            else args.emplace_back(argv[k]);
        }

        if (comm.rank() == 0) {
            std::ios::sync_with_stdio(false);
            tn::install_interrupt_handlers(kName);
            tn::mpi::SpreadRunner runner(comm, stats, std::cerr, started);
            setting.runner = &runner;
            const int rc = tn::run_program(args, std::cout, std::cerr, setting);
            std::cout.flush();
            code = end_on_rank0(comm, rc);
        } else {
            // A worker's console and stray messages go nowhere; its failure goes to rank 0.
            NullBuffer nothing;
            std::ostream quiet(&nothing);
            std::streambuf* const out_before = std::cout.rdbuf(&nothing);
            std::streambuf* const err_before = std::cerr.rdbuf(&nothing);
            std::ostringstream err;
            tn::mpi::SpreadRunner runner(comm, false, quiet, started);
            setting.runner = &runner;
            const int rc = tn::run_program(args, quiet, err, setting);
            end_on_worker(comm, rc, err.str(), runner.stopped());
            std::cout.rdbuf(out_before);
            std::cerr.rdbuf(err_before);
        }
    }
    MPI_Finalize();
    return code;
}
