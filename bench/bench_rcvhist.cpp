// Micro-benchmarks of the inner loop: one receiver against a 200-point trajectory over the
// benchmark terrain (hilly, mixed ground, 24 bands), its history formatted as a time-history section.
// Reported: time per receiver and paths (trajectory points) per second.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <unistd.h>

#include "batch/runs.h"
#include "batch/setup.h"
#include "path/rcvhist.h"
#include "results/timehist.h"

namespace {

namespace fs = std::filesystem;

struct BenchCase {
    std::ostringstream console;
    tn::Session s{console};
    tn::RcvCase rc;
    tn::RcvShared shared;

    BenchCase() {
        fs::path dir = fs::temp_directory_path();
        dir /= "tn_bench_rcvhist_" + std::to_string(::getpid());
        const fs::path tool = fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "tracknoise-benchcase";
        std::string make = "'";
        make += tool.string();
        make += "' '";
        make += dir.string();
        make += "' 10 200 200";
        if (std::system(make.c_str()) != 0) std::abort();
        fs::current_path(dir);
        s.Ctlfile = "bench.ctl";
        s.Dirfile = "none";
        tn::CASESETUP(s);
        rc = tn::rcv_case(s);
        shared = tn::rcv_shared(s);
    }
};

BenchCase& bench_case() {
    static BenchCase c;
    return c;
}

void BM_RcvhistTimeHistory(benchmark::State& state) {
    BenchCase& c = bench_case();
    tn::SITEREC site;
    site.x = 504000.0f;
    site.y = 4005000.0f;
    site.z = 1.2f;
    site.Name = "bench";
    tn::RcvWork work;
    tn::ReceiverHistory hist;
    std::string section;
    for (auto _ : state) {
        tn::RCVHIST(c.rc, site, 1, 0.0f, c.shared, work, hist);
        section.clear();
        tn::append_section(section, hist, true);
        benchmark::DoNotOptimize(section.data());
    }
    state.counters["paths/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * c.rc.Npts,
                                                   benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RcvhistTimeHistory)->Unit(benchmark::kMillisecond);

}  // namespace
