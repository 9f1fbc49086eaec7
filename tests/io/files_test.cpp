// Text files, and the names of files and of the program's folder. Binary words are the grid and
// raster tests' (both byte orders), their stops the broken-input table's; the console's records are
// the whole runs' (tests/batch/runs_test.cpp).
#include <gtest/gtest.h>

#include "io/files.h"
#include "io/test_files.h"
#include "io/text_file.h"

using namespace tn;
using namespace tntest;

TEST(TextFile, RecordsBackspaceRewindAndLastLine) {
    const ScratchDir d;
    TextFile f(d.file("records.txt", "one\r\ntwo\n\nfour"));
    EXPECT_EQ(f.count(), 4u);   // a last line without a line end is a record; the empty line counts
    auto next = [&f] { std::string_view r; f.next_record(r); return std::string(r); };
    next();
    EXPECT_EQ(next(), "two");
    f.backspace();
    EXPECT_EQ(next(), "two");
    EXPECT_EQ(f.skip(2), IoStatus::Ok);
    std::string_view r;
    EXPECT_EQ(f.next_record(r), IoStatus::End);
    f.rewind();
    EXPECT_EQ(next(), "one");   // and no CR at the end of it
    EXPECT_EQ(TextFile::from_text("e", "").count(), 0u);
}

// A name with no folder in it is the running program's (found through PATH).
TEST(Files, ExistenceAndProgramFolder) {
    const ScratchDir d;
    EXPECT_TRUE(file_exists(d.file("exists.txt", "x") + "   "));   // trailing blanks do not count
    EXPECT_FALSE(file_exists("-"));
    EXPECT_FALSE(file_exists("   "));
    EXPECT_FALSE(program_folder("tracknoise").empty());
}
