// Text and binary files, the console streams, and the names of files and of the program's folder.
#include <gtest/gtest.h>

#include <sstream>

#include "io/binary_file.h"
#include "io/console.h"
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

TEST(BinaryFile, LittleAndBigEndianWordsAndTruncation) {
    const ScratchDir d;
    // 1 as a little-endian integer, 1.0f little-endian, 1.0f big-endian, then two stray bytes
    const std::string p = d.file("words.bin", std::string("\x01\x00\x00\x00\x00\x00\x80\x3f\x3f\x80\x00\x00\x12\x34", 14));
    BinaryFile le(p);
    EXPECT_EQ(le.i32_or_fail("N"), 1);
    EXPECT_EQ(le.f32_or_fail("a value"), 1.0f);
    le.skip_or_fail(4, "a word");
    float v = 0;
    EXPECT_EQ(le.read_f32(v), IoStatus::End);   // only two bytes left
    le.rewind();
    le.skip_or_fail(12, "header");
    EXPECT_TRUE(holds(error_of([&le] { le.f32_or_fail("DX"); }), ": byte 14: unexpected end of file, expected DX"));
    BinaryFile be(p, true);
    EXPECT_EQ(be.i32_or_fail("N"), 0x01000000);
    be.skip_or_fail(4, "a word");
    EXPECT_EQ(be.read_f32_array(&v, 1), IoStatus::Ok);
    EXPECT_EQ(v, 1.0f);
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
    EXPECT_EQ(out.str(), "/opt/tracknoise\nCalculating Grid Location\n      0001    0002\rab                \n\n"
                         " Generating site files\n");
}

TEST(Files, ExistenceAndProgramFolder) {
    const ScratchDir d;
    EXPECT_TRUE(file_exists(d.file("exists.txt", "x") + "   "));   // trailing blanks do not count
    EXPECT_FALSE(file_exists("-"));
    EXPECT_FALSE(file_exists("   "));
    EXPECT_EQ(program_folder("/opt/tn/bin/tracknoise"), "/opt/tn/bin");
    EXPECT_EQ(program_folder("./tracknoise"), ".");
    EXPECT_FALSE(program_folder("tracknoise").empty());   // found from the running executable
}
