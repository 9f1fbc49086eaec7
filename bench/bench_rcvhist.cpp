// Micro-benchmarks of the inner loop: one receiver against a 200-point trajectory over the
// benchmark terrain (hilly, mixed ground, 24 bands), with the output formatted as a time history.
// Reported: time per receiver and paths (trajectory points) per second.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <unistd.h>

#include "batch/setup.h"
#include "path/rcvhist.h"

namespace {

namespace fs = std::filesystem;

struct BenchCase {
    std::ostringstream console;
    tn::Session s{console};
    tn::RcvCase rc;
    tn::RcvShared shared;

    BenchCase() {
        const fs::path dir = fs::temp_directory_path() / ("tn_bench_rcvhist_" + std::to_string(::getpid()));
        const fs::path exe = fs::read_symlink("/proc/self/exe").parent_path();
        const std::string make = "'" + (exe.parent_path() / "tracknoise-benchcase").string() + "' '" + dir.string() +
                                 "' 10 200 200";
        if (std::system(make.c_str()) != 0) std::abort();
        fs::current_path(dir);
        s.Ctlfile = "bench.ctl";
        s.Dirfile = "none";
        tn::CASESETUP(s);
        tn::CaseState& cs = s.cs;
        rc.Nband = cs.Nband;
        rc.Freq = cs.Freq.data();
        rc.Wgt = cs.Wgt.data();
        rc.Absdb = cs.Absdb.data();
        rc.terrain = cs.terrain();
        rc.ground = cs.ground();
        rc.ref = &cs.Gridref;
        rc.Traj = cs.Traj.data();
        rc.Npts = cs.Npts;
        rc.AMBLEVEL = cs.AMBLEVEL.data();
        rc.AMBSPEC = cs.AMBSPEC.data();
        rc.Utmzone = cs.Utmzone;
        rc.Minagl = cs.Minagl;
        rc.Tfahr = cs.Tfahr;
        rc.Maxdist = cs.Maxdist;
        rc.model = s.model;
        shared.Srcfile = &cs.Srcfile;
        shared.Reload = &s.Reload;
        shared.kept_height = &s.kept.terrz_height;
        shared.srctable = &s.kept.srctable;
        shared.hemispheres = &s.kept.hemispheres;
        shared.current_hemi = &s.current_hemi;
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
    tn::RcvOutput out;
    const tn::Name255 outname("bench.tig");
    for (auto _ : state) {
        tn::RCVHIST(c.rc, site, 1, 0.0f, outname, c.shared, work, out);
        benchmark::DoNotOptimize(out.section.data());
    }
    state.counters["paths/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * c.rc.Npts,
                                                   benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RcvhistTimeHistory)->Unit(benchmark::kMillisecond);

}  // namespace
