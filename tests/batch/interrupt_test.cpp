// Result files are all or nothing: the program is run on a grid case large enough to be stopped in
// the middle of its receivers, and stopped by SIGINT, SIGTERM and SIGKILL. After each stop the
// earlier result is byte for byte what it was, and no result name holds a partial file; after
// SIGKILL the leftover is NAME.partial and the next run takes it over. A second run on the same
// name while the first writes stops at once and names the first; a table and its companion change
// together or not at all.
#include <gtest/gtest.h>

#include <cstring>

#include "case_builder.h"

using namespace tntest;

namespace {

const std::string kEarlier = "an earlier result\n";

// Starts build/tracknoise on `script` in the case's folder, standard output and error to TAG.out and
// TAG.err.
Child run_on(const CaseDir& dir, const std::string& script, const std::string& tag) {
    return start(dir, kProgram, {kProgram, "--threads", "1", script}, tag);
}

// Waits until `file` has grown past `bytes` (receivers have been written into it) while the child
// still runs.
bool grown(const CaseDir& dir, const std::string& file, std::uintmax_t bytes, Child& c) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < limit) {
        std::error_code ec;
        const std::uintmax_t n = fs::file_size(dir.path(file), ec);
        if (!ec && n > bytes) return true;
        if (::waitpid(c.pid, &c.status, WNOHANG) != 0) return false;   // ended already: the case is too small
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

// The benchmark case, 60 by 60 receivers over 200 points: some seconds of work on one thread. Its
// run script "big.run" writes `base` with option `opt`; "small.run" writes the same name from a
// block of 2 by 2 receivers.
void make_case(const CaseDir& dir, const std::string& base, const std::string& opt) {
    ASSERT_EQ(std::system(("'" + kBin + "/tracknoise-benchcase' '" + dir.dir().string() + "' 60 200 120").c_str()), 0);
    const std::string head = "open\nbench.ctl\ngrid\n" + base + "\nii:   60\n";
    const std::string tail = "opt: " + opt + "\nhrs:    0\nmin:    0\nsec:  0.000\nstop\n";
    dir.write("big.run", head + "ii:    1  60\njj:   60\njj:    1  60\n" + tail);
    dir.write("small.run", head + "ii:   29  30\njj:   60\njj:   29  30\n" + tail);
}

std::vector<std::string> leftovers(const CaseDir& dir) {
    std::vector<std::string> found;
    for (const auto& e : fs::directory_iterator(dir.dir())) {
        const std::string n = e.path().filename().string();
        if (n.find(".partial") != std::string::npos || n.find(".lock") != std::string::npos) found.push_back(n);
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

TEST(Interruption, SigintAndSigtermLeaveTheEarlierResultAndNoPartialFile) {
    CaseDir dir("interrupt");
    make_case(dir, "bench", "no");
    dir.write("bench.tig", kEarlier);
    for (const int sig : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(sig);
        Child c = run_on(dir, "big.run", "big");
        ASSERT_TRUE(grown(dir, "bench.tig.partial", 20000, c)) << dir.read("big.err");

        // A second run on the same name stops at once, names the first and leaves its file alone.
        Child second = run_on(dir, "small.run", "second");
        finish(second);
        EXPECT_TRUE(WIFEXITED(second.status) && WEXITSTATUS(second.status) != 0);
        EXPECT_NE(dir.read("second.err").find("bench.tig: another run (process " + std::to_string(c.pid) + ") is writing"),
                  std::string::npos)
            << dir.read("second.err");
        EXPECT_TRUE(dir.exists("bench.tig.partial"));

        ::kill(c.pid, sig);
        finish(c);
        ASSERT_TRUE(!c.hung && WIFEXITED(c.status)) << "ended by signal " << WTERMSIG(c.status);
        EXPECT_EQ(WEXITSTATUS(c.status), 128 + sig);
        EXPECT_EQ(dir.read("big.err"),
                  "tracknoise: interrupted; bench.tig was not written (an earlier bench.tig is unchanged)\n");
        EXPECT_EQ(dir.read("bench.tig"), kEarlier);
        EXPECT_EQ(leftovers(dir), std::vector<std::string>{});
    }
}

TEST(Interruption, AfterSigkillTheNextRunTakesThePartialFilesOver) {
    // For a time history, and for a table with its companion, which appear together.
    for (const std::string opt : {"no", "yes"}) {
        SCOPED_TRACE(opt);
        CaseDir dir("killed_" + opt);
        make_case(dir, "bench", opt);
        const std::vector<std::string> results = opt == "no" ? std::vector<std::string>{"bench.tig"}
                                                             : std::vector<std::string>{"bench.dbf", "bench.dbt"};
        for (const std::string& r : results) dir.write(r, kEarlier + r);

        Child c = run_on(dir, "big.run", "big");
        ASSERT_TRUE(grown(dir, results[0] + ".partial", 20000, c)) << dir.read("big.err");
        ::kill(c.pid, SIGKILL);
        finish(c);
        for (const std::string& r : results) EXPECT_EQ(dir.read(r), kEarlier + r);
        for (const std::string& r : results) EXPECT_TRUE(dir.exists(r + ".partial")) << r;

        Child next = run_on(dir, "small.run", "next");
        finish(next);
        ASSERT_TRUE(WIFEXITED(next.status) && WEXITSTATUS(next.status) == 0) << dir.read("next.err");
        EXPECT_EQ(leftovers(dir), std::vector<std::string>{});
        if (opt == "no") {
            const std::string tig = dir.read("bench.tig");
            EXPECT_EQ(tig.rfind("Filename: bench.tig\n", 0), 0u);
            EXPECT_EQ(tig.substr(tig.size() - 31), "---End of This Data Section---\n");
        } else {
            // Four receivers of 200 points, and the end mark; the companion ends in its own.
            const std::string dbf = dir.read("bench.dbf"), dbt = dir.read("bench.dbt");
            std::int32_t records = 0;
            std::memcpy(&records, dbf.data() + 4, 4);
            EXPECT_EQ(records, 800);
            EXPECT_EQ(dbf.back(), '\x1a');
            EXPECT_EQ(dbt.back(), '\x1a');
        }
    }
}
