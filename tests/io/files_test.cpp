// Text and binary files, the console streams and fixed texts.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "io/binary_file.h"
#include "io/console.h"
#include "io/errors.h"
#include "io/files.h"
#include "io/fixed_text.h"
#include "io/text_file.h"

using namespace tn;
namespace fs = std::filesystem;

namespace {

fs::path temp_file(const std::string& name, const std::string& bytes) {
    const fs::path p = fs::temp_directory_path() / ("tn_io_" + name);
    std::ofstream(p, std::ios::binary) << bytes;
    return p;
}

}  // namespace

TEST(FixedText, PaddingComparisonAndSubstrings) {
    FixedText<4> opt("no");
    EXPECT_TRUE(opt == "no");
    EXPECT_TRUE(opt == "no  ");
    EXPECT_FALSE(opt == "No");
    EXPECT_EQ(opt.padded(), "no  ");
    FixedText<3> cut("Maximum");
    EXPECT_EQ(cut, "Max");
    Name255 n("run/case.nc.txt");
    EXPECT_TRUE(n.contains(".nc"));
    EXPECT_FALSE(n.contains(".NC"));
    EXPECT_EQ(n.trimmed(), "run/case.nc.txt");
    EXPECT_TRUE(Name255().blank());
    EXPECT_TRUE(padded_equal("Flight track", "Flight track   "));
}

TEST(TextFile, RecordsBackspaceRewindAndLastLine) {
    const fs::path p = temp_file("records.txt", "one\r\ntwo\n\nfour");
    TextFile f(p.string());
    EXPECT_EQ(f.count(), 4u);   // a last line without a line end is a record; the empty line counts
    std::string_view r;
    f.next_record(r);
    f.next_record(r);
    EXPECT_EQ(r, "two");
    f.backspace();
    f.next_record(r);
    EXPECT_EQ(r, "two");
    EXPECT_EQ(f.skip(2), IoStatus::Ok);
    EXPECT_EQ(f.next_record(r), IoStatus::End);
    f.rewind();
    f.next_record(r);
    EXPECT_EQ(r, "one");
    EXPECT_EQ(TextFile::from_text("e", "").count(), 0u);
}

TEST(TextFile, MissingFilesAndFoldersAreClearErrors) {
    try {
        TextFile f("/nonexistent/tracknoise/file.txt");
        FAIL();
    } catch (const RunError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/tracknoise/file.txt: cannot open the file"), std::string::npos);
    }
    try {
        TextFile f(fs::temp_directory_path().string());
        FAIL();
    } catch (const RunError& e) {
        EXPECT_NE(std::string(e.what()).find("it is a folder"), std::string::npos);
    }
    TextFile g = TextFile::from_text("short.txt", "a\n");
    g.skip(1);
    try {
        g.record_or_fail("the humidity line");
        FAIL();
    } catch (const RunError& e) {
        EXPECT_STREQ(e.what(), "short.txt:2: unexpected end of file, expected the humidity line");
    }
}

TEST(BinaryFile, LittleAndBigEndianWordsAndTruncation) {
    // 1 as a little-endian integer, 1.0f little-endian, 1.0f big-endian, then two stray bytes
    const std::string bytes("\x01\x00\x00\x00\x00\x00\x80\x3f\x3f\x80\x00\x00\x12\x34", 14);
    const fs::path p = temp_file("words.bin", bytes);
    BinaryFile le(p.string());
    EXPECT_EQ(le.i32_or_fail("N"), 1);
    EXPECT_EQ(le.f32_or_fail("a value"), 1.0f);
    le.skip_or_fail(4, "a word");
    float v = 0;
    EXPECT_EQ(le.read_f32(v), IoStatus::End);   // only two bytes left
    try {
        le.rewind();
        le.skip_or_fail(12, "header");
        le.f32_or_fail("DX");
        FAIL();
    } catch (const RunError& e) {
        EXPECT_NE(std::string(e.what()).find(": byte 14: unexpected end of file, expected DX"), std::string::npos);
    }
    BinaryFile be(p.string(), true);
    EXPECT_EQ(be.i32_or_fail("N"), 0x01000000);
    be.skip_or_fail(4, "a word");
    float w[1];
    EXPECT_EQ(be.read_f32_array(w, 1), IoStatus::Ok);
    EXPECT_EQ(w[0], 1.0f);
    EXPECT_THROW(be.skip_or_fail(3, "the rest"), RunError);
}

TEST(Console, ProgressRecordsOverwriteTheirLine) {
    std::ostringstream out;
    {
        Console c(out);
        c.progress(" /opt/tracknoise");
        c.line("Calculating Grid Location");
        c.progress("+      0001    0002");
        c.progress("+ab");
        c.line("");
        c.list_line("Generating site files");
    }
    EXPECT_EQ(out.str(),
              "/opt/tracknoise\n"
              "Calculating Grid Location\n"
              "      0001    0002\rab                \n"
              "\n"
              " Generating site files\n");
}

TEST(Files, ExistenceAndProgramFolder) {
    const fs::path p = temp_file("exists.txt", "x");
    EXPECT_TRUE(file_exists(p.string() + "   "));   // trailing blanks do not count
    EXPECT_FALSE(file_exists("-"));
    EXPECT_FALSE(file_exists("   "));
    EXPECT_EQ(program_folder("/opt/tn/bin/tracknoise"), "/opt/tn/bin");
    EXPECT_EQ(program_folder("./tracknoise"), ".");
    EXPECT_FALSE(program_folder("tracknoise").empty());   // found from the running executable
}
