// Results do not depend on the number of threads: each case below, run with 1, 2 and 4 threads,
// gives byte-identical files. The cases: the two examples (which so stay valid cases), the
// benchmark case at a reduced size (as text and as NetCDF), and a terrain whose column of not-a-number heights makes each receiver on it take the last good
// height of the receiver before it, so that the receivers must be handed on in order.
#include <gtest/gtest.h>

#include "case_builder.h"

using namespace tntest;

namespace {

// The example cases in folders of their names; the hemisphere example reads the flyover's files.
void examples(const CaseDir& dir) {
    fs::copy(fs::path(TN_SOURCE_DIR) / "examples", dir.dir(), fs::copy_options::recursive);
    ASSERT_EQ(example_grids(dir, "flyover"), 0);
    ASSERT_EQ(shell(dir, "ncgen -o hemisphere/jet.nc hemisphere/jet.cdl"), 0);
}

void bench(const CaseDir& dir) { ASSERT_EQ(shell(dir, "'" + kBin + "/tracknoise-benchcase' . 12 40 60"), 0); }

// The same case written as NetCDF; its runs lie more than a second apart, so that object times in
// whole seconds, had HDF5 stored any, would show.
void bench_cdf(const CaseDir& dir) {
    bench(dir);
    ASSERT_EQ(shell(dir, "sed 's/^opt: no/opt: CDF/' bench.run > cdf.run"), 0);
}

}  // namespace

TEST(Threads, ResultsAreIdenticalForAnyThreadCount) {
    const struct { const char* what; void (*prepare)(const CaseDir&); const char* folder; const char* script;
                   std::vector<std::string> results; } cases[] = {
        {"example flyover", examples, "flyover", "flyover.run", {"flyover_sites.tis", "flyover_table.dbf", "flyover_grid.tig", "flyover_grid.nc"}},
        {"example hemisphere", examples, "hemisphere", "hemisphere.run", {"hemisphere_sites.tis"}},
        {"benchmark case, reduced", bench, ".", "bench.run", {"bench.tig"}},
        {"benchmark case, reduced, as NetCDF", bench_cdf, ".", "cdf.run", {"bench.nc"}},
        {"kept height from the receiver before", kept_height_case, ".", "run.txt", {"g.tig", "h.tig"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        CaseDir dir("threads");
        c.prepare(dir);
        std::vector<std::string> one;
        for (int threads : {1, 2, 4}) {
            ASSERT_EQ(shell(dir, "cd " + std::string(c.folder) + " && SOURCE_DATE_EPOCH=1700000000 '" + kBin +
                                     "/tracknoise' --threads " + std::to_string(threads) + " " + c.script +
                                     " > '" + dir.path("console.txt") + "' 2>&1"), 0)
                << dir.read("console.txt");
            for (std::size_t k = 0; k < c.results.size(); ++k) {
                const std::string name = std::string(c.folder) + "/" + c.results[k], bytes = dir.read(name);
                fs::remove(dir.path(name));
                if (threads == 1) {
                    one.push_back(bytes);
                    EXPECT_GT(bytes.size(), 1000u) << c.results[k];
                } else {
                    EXPECT_TRUE(bytes == one[k]) << c.results[k] << " differs with " << threads << " threads";
                }
            }
        }
    }
}
