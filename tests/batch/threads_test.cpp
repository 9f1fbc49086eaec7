// Results do not depend on the number of threads: the example cases and the benchmark case at a
// reduced size (as text and as NetCDF), run with 1, 2 and 4 threads, give byte-identical files; and
// a terrain whose heights make a receiver depend on the one before it is run in order.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <limits>
#include <thread>

#include "case_builder.h"

using namespace tntest;

namespace {

const std::string kBin = std::string(TN_BINARY_DIR);

int shell(const std::string& cmd) { return std::system(cmd.c_str()); }

// Runs `script` in `dir` with the given thread count and returns the named result files' bytes.
std::vector<std::string> run_with(const CaseDir& dir, const std::string& script, int threads,
                                  const std::vector<std::string>& results) {
    for (const std::string& r : results) fs::remove(dir.path(r));
    const std::string cmd = "cd '" + dir.dir().string() + "' && SOURCE_DATE_EPOCH=1700000000 '" + kBin +
                            "/tracknoise' --threads " + std::to_string(threads) + " " + script + " > console.txt 2>&1";
    EXPECT_EQ(shell(cmd), 0) << dir.read("console.txt");
    std::vector<std::string> bytes;
    for (const std::string& r : results) {
        EXPECT_TRUE(dir.exists(r)) << r;
        bytes.push_back(dir.read(r));
    }
    return bytes;
}

void expect_same_for_all_thread_counts(const CaseDir& dir, const std::string& script,
                                       const std::vector<std::string>& results) {
    const std::vector<std::string> one = run_with(dir, script, 1, results);
    for (int threads : {2, 4}) {
        const std::vector<std::string> many = run_with(dir, script, threads, results);
        for (std::size_t k = 0; k < results.size(); ++k) {
            EXPECT_TRUE(one[k] == many[k]) << results[k] << " differs with " << threads << " threads";
        }
    }
    for (const std::string& s : one) EXPECT_GT(s.size(), 1000u);
}

}  // namespace

TEST(Threads, ExampleFlyoverIsIdentical) {
    CaseDir dir("threads_example");
    fs::copy(fs::path(TN_SOURCE_DIR) / "examples" / "flyover", dir.dir(), fs::copy_options::recursive);
    ASSERT_EQ(shell("cd '" + dir.dir().string() + "' && '" + kBin + "/tracknoise-asc2grid' terrain.asc terrain.grd ZALT 11 && '" +
                    kBin + "/tracknoise-asc2grid' ground.asc ground.imp FLOW 11"),
              0);
    expect_same_for_all_thread_counts(dir, "flyover.run", {"flyover_sites.tis", "flyover_grid.tig"});
}

TEST(Threads, BenchmarkCaseAtReducedSizeIsIdentical) {
    CaseDir dir("threads_bench");
    ASSERT_EQ(shell("'" + kBin + "/tracknoise-benchcase' '" + dir.dir().string() + "' 12 40 60"), 0);
    expect_same_for_all_thread_counts(dir, "bench.run", {"bench.tig"});
}

TEST(Threads, NetcdfIsIdenticalForThreadCountsAndReruns) {
    // The same case written as NetCDF: the same bytes for every thread count, and on a rerun more
    // than a second later (HDF5 would store object times in whole seconds).
    CaseDir dir("threads_cdf");
    ASSERT_EQ(shell("'" + kBin + "/tracknoise-benchcase' '" + dir.dir().string() + "' 12 40 60 && cd '" +
                    dir.dir().string() + "' && sed 's/^opt: no/opt: CDF/' bench.run > cdf.run"),
              0);
    const std::vector<std::string> first = run_with(dir, "cdf.run", 1, {"bench.nc"});
    EXPECT_GT(first[0].size(), 1000u);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    for (int threads : {1, 2, 4}) EXPECT_TRUE(run_with(dir, "cdf.run", threads, {"bench.nc"}) == first) << threads;
}

TEST(Threads, KeptHeightFromTheReceiverBeforeRunsInOrder) {
    // Receivers on a column of not-a-number heights take the last good height of the receiver
    // before them: the run goes in order and the results still do not depend on the thread count.
    CaseDir dir("threads_kept");
    dir.write_grid("t.grd", "ZALT", 11, 11, 100.0f, 500000.0f, 4000000.0f, 11, [](int i, int j) {
        return i == 6 ? std::numeric_limits<float>::quiet_NaN() : 20.0f * static_cast<float>(i + j);
    });
    dir.write_trajectory("track.trj", 59.0, 70.0,
                         {{0, 499500, 4000500, 600, 90, 0, 100, 80, 0}, {2, 500500, 4000500, 600, 90, 0, 100, 80, 0},
                          {4, 501500, 4000500, 600, 90, 0, 100, 80, 0}});
    dir.write_source("s.lst", "s.tab", {500.0f, 1000.0f, 2000.0f}, [](int b, int a) { return 80.0f + b + 0.1f * a; });
    dir.write_control("c.ctl", {"t.grd", "-", "-", "track.trj", "-", "-", "s.lst"});
    dir.write("run.txt", "open\nc.ctl\ngrid\ng\nii:   11\nii:    1  11\njj:   11\njj:    1  11\nopt: no\n"
                         "hrs:    0\nmin:    0\nsec:  0.000\n");
    expect_same_for_all_thread_counts(dir, "run.txt", {"g.tig"});
}
