// build/tracknoise-mpi under mpirun with three processes: the result files are byte for byte those
// of build/tracknoise with one thread, for grid, site and table runs, in-order runs and runs that
// hand state to the next; bad input met by one process and a process killed during a run end the
// job with a message, a non-zero exit and no result file. Skipped when tracknoise-mpi is not built.
#include <gtest/gtest.h>

#include <functional>

#include "batch/case_builder.h"

using namespace tntest;

namespace {

#define SKIP_WITHOUT_MPI()                                                              \
    if (!TN_MPI_BUILT) GTEST_SKIP() << "tracknoise-mpi is not built (no MPI found)";   \
    static_assert(true)

struct Outcome {
    int code = -1;
    std::string out, err;
};

// Runs a command in the case folder with a fixed date; standard output and error are kept.
Outcome in_case(const CaseDir& dir, const std::string& command, const std::string& env = "") {
    const int code = shell(dir, "env SOURCE_DATE_EPOCH=1700000000 " + env + " " + command + " > console.txt 2> errors.txt");
    return {code, dir.read("console.txt"), dir.read("errors.txt")};
}

// mpirun with `ranks` processes of tracknoise-mpi; `wrapper` (a shell text run as "sh -c", with the
// program and its arguments behind) may change one process's surroundings. Ends within ten minutes
// whatever happens, so that a hang fails the test rather than the suite.
// Under the sanitizers, leaks are not looked for: the MPI library keeps memory to the end. Shared
// memory goes without the single-copy mechanism, which containers often forbid.
std::string mpi_command(int ranks, int threads, const std::string& script, const std::string& wrapper = "") {
    std::string cmd = "ASAN_OPTIONS=\"$ASAN_OPTIONS:detect_leaks=0\" OMPI_MCA_btl_vader_single_copy_mechanism=none "
                      "timeout -k 10 600 " + std::string(TN_MPIEXEC) + " --oversubscribe --bind-to none -np " +
                      std::to_string(ranks);
    if (::geteuid() == 0) cmd += " --allow-run-as-root";
    if (!wrapper.empty()) cmd += " sh -c '" + wrapper + "\nexec \"$0\" \"$@\"'";
    return cmd + " '" + kBin + "/tracknoise-mpi' --threads " + std::to_string(threads) + " " + script;
}

std::string single_command(const std::string& script) { return "'" + kBin + "/tracknoise' --threads 1 " + script; }

// The console after its first line (the program's path).
std::string after_first_line(const std::string& s) {
    const std::size_t nl = s.find('\n');
    return nl == std::string::npos ? std::string() : s.substr(nl + 1);
}

// A case of the comparison: how to write it, its script, its result files (relative to the case
// folder, where a later run may write after the working folder has moved), threads per process,
// and any environment it needs. A new output format is one more name in `results`.
struct SameBytesCase {
    const char* name;
    std::function<void(CaseDir&)> make;
    std::string script;
    std::vector<std::string> results;
    int threads;
    std::string env;
};

void copy_flyover(CaseDir& dir) {
    fs::copy(fs::path(TN_SOURCE_DIR) / "examples" / "flyover", dir.dir(), fs::copy_options::recursive);
    ASSERT_EQ(example_grids(dir), 0);
    // The example's runs (sites as text and as a table, a grid as text) and a grid as a table.
    dir.write("more.run", dir.read("flyover.run").substr(0, dir.read("flyover.run").rfind("stop")) +
                              grid_block("grid_table", 15, 1, 15, "yes") + "stop\n");
}

// Sources named at every point, relative hemisphere names among them, and a table list in a folder
// of its own: its first load (by the first receiver in range) moves the working folder, so that the
// relative names, and the second run's result, are taken from there. The last site sees only the
// first point: the name it leaves is the one the second run's header shows. All runs are spread.
void named_sources_case(CaseDir& dir) {
    fs::create_directories(dir.dir() / "sources");
    flat_hemisphere(dir, "a.nc", 70);
    flat_hemisphere(dir, "sources/a.nc", 80);
    dir.write_source("sources/t.lst", "t.tab", {500.0f, 630.0f, 800.0f}, [](int b, int a) { return 60.0f + b + 0.2f * a; });
    fs::rename(dir.dir() / "t.tab", dir.dir() / "sources" / "t.tab");
    dir.write_grid("flat.grd", "ZALT", 41, 11, 1000.0f, 465000.0f, 3995000.0f, 11, [](int i, int j) { return 2.0f * (i + j); });
    write_named_track(dir, {{480000.0, dir.path("a.nc")}, {499500.0, "sources/t.lst"}, {500000.0, "a.nc"},
                            {500500.0, "sources/t.lst"}, {501000.0, "a.nc"}});
    std::string sites = "x y z name\n";
    for (int k = 0; k < 11; ++k) sites += std::to_string(497000 + 700 * k) + " 4001000 1.5 'S" + std::to_string(k) + "'\n";
    sites += "466000 4000000 1.5 'West'\n";
    dir.write("sites.txt", sites);
    dir.write_control("c.ctl", {"flat.grd", "-", "sites.txt", "track.trj", "-", "-", "sources/t.lst"});
    dir.write("run.txt", "open\nc.ctl\n" + site_run("first") + site_run("second") + grid_block("third", 6, 1, 6, "yes"));
}

// The weather path goes in order on rank 0, whatever the processes.
void weather_case(CaseDir& dir) {
    dir.write_grid("terrain.grd", "ZALT", 5, 5, 1000.0f, 498000.0f, 3998000.0f, 11, [](int, int) { return 250.0f; });
    dir.write_trajectory("track.trj", 59.0, 70.0,
                         {{0.0, 499000, 4000300, 650, 90, 0, 100, 80, 0}, {2.0, 499600, 4000300, 640, 90, 0, 100, 80, 0},
                          {4.0, 500200, 4000300, 630, 90, 0, 100, 80, 0}});
    dir.write_source("src.lst", "tone.tab", {1000.0f, 1250.0f}, [](int b, int) { return b == 1 ? 84.3f : 81.7f; });
    dir.write("wx.txt", "Single Parameter Weather\ncomment\n15.0 70.0 10.0 2.0 90.0 1.0 2.0 0.0 3.0 4.0\n");
    dir.write_control("case.ctl", {"terrain.grd", "-", "-", "track.trj", "wx.txt", "-", "src.lst"});
    dir.write("run.txt", "open\ncase.ctl\n" + grid_block("w", 5, 1, 5, "no"));
}

const SameBytesCase kCases[] = {
    {"flyover", copy_flyover, "more.run",
     {"flyover_sites.tis", "flyover_table.dbf", "flyover_table.dbt", "flyover_grid.tig", "grid_table.dbf",
      "grid_table.dbt", "flyover_sites.nc", "flyover_grid.nc"},
     1, ""},
    {"bench", [](CaseDir& dir) { ASSERT_EQ(shell(dir, "'" + kBin + "/tracknoise-benchcase' . 14 40 60"), 0); }, "bench.run",
     {"bench.tig"}, 2, ""},
    {"kept_height", kept_height_case, "run.txt", {"g.tig", "h.tig"}, 1, ""},
    {"named_sources", named_sources_case, "run.txt",
     {"first.tis", "sources/second.tis", "sources/third.dbf", "sources/third.dbt"}, 2, ""},
    {"weather", weather_case, "run.txt", {"w.tig"}, 1, "TRACKNOISE_NORD2000='" + std::string(TN_NORD_STUB) + "'"},
};

void PrintTo(const SameBytesCase& c, std::ostream* os) { *os << c.name; }

class SameBytes : public ::testing::TestWithParam<SameBytesCase> {};

TEST_P(SameBytes, AsOneProcess) {
    SKIP_WITHOUT_MPI();
    const SameBytesCase& c = GetParam();
    CaseDir dir(std::string("mpi_") + c.name);
    c.make(dir);
    const Outcome one = in_case(dir, single_command(c.script), c.env);
    ASSERT_EQ(one.code, 0) << one.err;
    std::vector<std::string> expected;
    for (const std::string& r : c.results) {
        ASSERT_TRUE(dir.exists(r)) << r;
        expected.push_back(dir.read(r));
        fs::remove(dir.path(r));
    }
    const Outcome many = in_case(dir, mpi_command(3, c.threads, c.script), c.env);
    ASSERT_EQ(many.code, 0) << many.err;
    for (std::size_t k = 0; k < c.results.size(); ++k) {
        EXPECT_TRUE(dir.exists(c.results[k]) && dir.read(c.results[k]) == expected[k]) << c.results[k] << " differs";
    }
    // Rank 0's console is the single process's: headings, the progress line in receiver order.
    EXPECT_EQ(after_first_line(many.out), after_first_line(one.out));
}

INSTANTIATE_TEST_SUITE_P(MpiRuns, SameBytes, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<SameBytesCase>& i) { return std::string(i.param.name); });

// A failure: the job ends within the time limit with a non-zero code and one message, and leaves no
// result file, complete or partial.
void expect_failed_cleanly(const CaseDir& dir, const Outcome& o, const std::string& result) {
    EXPECT_NE(o.code, 0);
    EXPECT_NE(o.code, 124) << "the job hung";
    EXPECT_FALSE(dir.exists(result)) << result;
    EXPECT_FALSE(dir.exists(result + ".partial"));
}

// The case's files copied into bad/, where one process is made to run.
void copy_to_bad(const CaseDir& dir) {
    fs::create_directories(dir.dir() / "bad");
    for (const auto& e : fs::directory_iterator(dir.dir())) {
        if (e.is_regular_file()) fs::copy(e.path(), dir.dir() / "bad" / e.path().filename());
    }
}

const char* const kRank2InBad = "[ \"$OMPI_COMM_WORLD_RANK\" = 2 ] && cd bad";

TEST(MpiRuns, BadInputMetByOneProcessEndsTheJob) {
    SKIP_WITHOUT_MPI();
    CaseDir dir("mpi_bad_input");
    ASSERT_EQ(std::system(("'" + kBin + "/tracknoise-benchcase' '" + dir.dir().string() + "' 20 40 60").c_str()), 0);
    // Rank 2 runs in a copy of the case where a source table has a letter in a level: the run's
    // first receiver in range loads the tables there.
    copy_to_bad(dir);
    std::string table = dir.read("bad/b90.tab");
    const std::size_t at = table.find("\nAngle           35.0 ");
    ASSERT_NE(at, std::string::npos);
    table.replace(at + 21, 5, "  x.x");
    dir.write("bad/b90.tab", table);
    const Outcome o = in_case(dir, mpi_command(3, 1, "bench.run", kRank2InBad));
    expect_failed_cleanly(dir, o, "bench.tig");
    EXPECT_NE(o.err.find("b90.tab:10: columns 21-25"), std::string::npos) << o.err;
    EXPECT_NE(o.err.find("(met by rank 2"), std::string::npos) << o.err;
    EXPECT_NE(o.err.find("bench.tig was not written"), std::string::npos) << o.err;

    // Bad input that every process meets is told once.
    dir.write("nocase.run", "open\nmissing.ctl\n" + grid_block("x", 5, 1, 5, "no"));
    const Outcome all = in_case(dir, mpi_command(3, 1, "nocase.run"));
    expect_failed_cleanly(dir, all, "x.tig");
    EXPECT_EQ(lines_of(all.err).size() >= 1 && all.err.find("missing.ctl") != std::string::npos, true) << all.err;
    EXPECT_EQ(all.err.find("missing.ctl"), all.err.rfind("missing.ctl")) << all.err;
}

TEST(MpiRuns, BadInputMetInsideAWorkersBlockEndsTheJob) {
    SKIP_WITHOUT_MPI();
    CaseDir dir("mpi_bad_block");
    // Every point after the first names a hemisphere read from the working folder; no receiver
    // goes in order, so a process meets the file first inside a block of its own.
    flat_hemisphere(dir, "a.nc", 70);
    fs::copy_file(dir.path("a.nc"), dir.path("h.nc"));
    dir.write_grid("flat.grd", "ZALT", 11, 11, 1000.0f, 495000.0f, 3995000.0f, 11, [](int, int) { return 10.0f; });
    write_named_track(dir, {{499000.0, dir.path("a.nc")}, {500000.0, "h.nc"}, {501000.0, "h.nc"}});
    std::string sites = "x y z name\n";
    for (int k = 0; k < 30; ++k) sites += std::to_string(496000 + 300 * k) + " 4001000 1.5 'S" + std::to_string(k) + "'\n";
    dir.write("sites.txt", sites);
    dir.write_control("c.ctl", {"flat.grd", "-", "sites.txt", "track.trj", "-", "-", dir.path("a.nc")});
    dir.write("run.txt", "open\nc.ctl\n" + site_run("out"));
    copy_to_bad(dir);
    dir.write("bad/h.nc", "not a hemisphere\n");
    const Outcome o = in_case(dir, mpi_command(3, 1, "run.txt", kRank2InBad));
    expect_failed_cleanly(dir, o, "out.tis");
    EXPECT_NE(o.err.find("h.nc"), std::string::npos) << o.err;
    EXPECT_NE(o.err.find("(met by rank 2"), std::string::npos) << o.err;
}

TEST(MpiRuns, ProcessKilledDuringARunEndsTheJob) {
    SKIP_WITHOUT_MPI();
    CaseDir dir("mpi_killed");
    ASSERT_EQ(std::system(("'" + kBin + "/tracknoise-benchcase' '" + dir.dir().string() + "' 60 200 100").c_str()), 0);
    // Rank 1 is killed outright once rank 0 has begun to write the result.
    const Outcome o = in_case(dir, mpi_command(3, 1, "bench.run",
                                               "[ \"$OMPI_COMM_WORLD_RANK\" = 1 ] && "
                                               "(while [ ! -e bench.tig.partial ]; do sleep 0.1; done; sleep 1; kill -9 $$) &"));
    expect_failed_cleanly(dir, o, "bench.tig");
    EXPECT_NE(o.err.find("bench.tig was not written"), std::string::npos) << o.err;
}

}  // namespace
