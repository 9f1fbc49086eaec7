// Free-format reads. The behaviours of the table were checked once against GNU Fortran 12.2
// list-directed input on the same lines (null values, continuation, slash, repeat counts), with one
// deliberate difference: a repeated value serves items of any numeric kind ("2*5" fills an integer
// and a real), as the rule of repeat counts says, where that compiler refuses it. The messages of a
// failed read, CR LF line ends and reads from a part of a line are met by the broken-input table
// and the set-up tests (site files, Nord2000 parameters).
#include <gtest/gtest.h>

#include <chrono>
#include <tuple>

#include "io/list_input.h"
#include "io/test_files.h"

using namespace tn;

TEST(ListRead, SeparatorsNullsContinuationAndSlash) {
    TextFile f = TextFile::from_text("t",
        "1 2.5 abc 4 extra\n"      // the rest of the line is dropped
        ",,,7\n"                   // three null values keep what the items held
        "1\n,2.5,\n\"q d\" 3\n"    // continuation; the comma after a line end completes the separator
        "2*5 ab 3\n"               // repeat count
        "1 2 3*\n"                 // r* gives r null values
        "7 8 / 9\n"                // a slash ends the read
        "1 2 a\n\n 4\n"            // a blank line is only a separator
        "1,\n,x,5\n");             // a comma first on the next line after a comma is a null value
    using Row = std::tuple<int, float, std::string, int>;
    const Row want[] = {
        {1, 2.5f, "abc", 4}, {-1, -1.0f, "unset", 7}, {1, 2.5f, "q d", 3}, {5, 5.0f, "ab", 3},
        {1, 2.0f, "unset", -1}, {7, 8.0f, "unset", -1}, {1, 2.0f, "a", 4}, {1, -1.0f, "x", 5},
    };
    for (const Row& w : want) {
        Row r{-1, -1.0f, "unset", -1};
        ASSERT_EQ(list_read(f, std::get<0>(r), std::get<1>(r), std::get<2>(r), std::get<3>(r)), IoStatus::Ok);
        EXPECT_EQ(r, w);
    }
    int i = 0;
    EXPECT_EQ(list_read(f, i), IoStatus::End);
}

TEST(ListRead, QuotesOfBothKindsDoubledQuotesAndFixedTexts) {
    TextFile f = TextFile::from_text("t", "'it''s' \"a, b/c\" unquoted,next\n\"multi\nline\" z\n");
    std::string a, b, c, z;
    FixedText<4> d;
    ASSERT_EQ(list_read(f, a, b, c, d), IoStatus::Ok);
    EXPECT_EQ(std::tie(a, b, c), std::make_tuple("it's", "a, b/c", "unquoted"));
    EXPECT_EQ(d, "next");
    FixedText<3> key;
    ASSERT_EQ(list_read(f, key, z), IoStatus::Ok);
    EXPECT_EQ(key, "mul");    // a quoted text runs on into the next line and is cut to the field
    EXPECT_EQ(z, "z");
}

// Dropping n reals at once must leave the read where n reads of a float leave it: the same status,
// item count and problem, and the same next value. Repeats and the nulls behind a slash are passed
// over at once, found when a .sit file of 261 bytes declared a thousand million bound pairs.
TEST(ListRead, SkippingRealsIsReadingThemOneByOne) {
    const struct { const char* text; long long n; } cases[] = {
        {"1 2 3 4 5\n", 3},        {"3*1.5 7\n", 2},       {"3*1.5 7\n", 3},      {"3*1.5 7\n", 4},
        {"2*1 x 5\n", 3},          {"2*x 5\n", 1},         {"1 /\n9\n", 4},       {"1, , 3\n4\n", 3},
        {"1\n2\n", 5},             {"4* 8\n", 3},          {"2*'q' 1\n", 1},      {"5*2\n6\n", 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " n = " + std::to_string(c.n));
        TextFile f1 = TextFile::from_text("a", c.text), f2 = TextFile::from_text("a", c.text);
        ListReader one(f1), all(f2);
        float x = 0.0f;
        for (long long k = 0; k < c.n && one.status() == IoStatus::Ok; ++k) one.read(x);
        EXPECT_EQ(all.skip_reals(c.n), one.status());
        EXPECT_EQ(all.items_read(), one.items_read());
        EXPECT_EQ(all.problem(), one.problem());
        float next1 = -1.0f, next2 = -1.0f;
        EXPECT_EQ(all.read(next2), one.read(next1));
        EXPECT_EQ(next2, next1);
    }
    std::string many;
    for (int k = 0; k < 20; ++k) many += "100000000*1 ";
    TextFile big = TextFile::from_text("big", many + "2.5\n/\n");
    ListReader r(big);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(r.skip_reals(2000000000LL), IoStatus::Ok);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    float last = 0.0f;
    EXPECT_EQ(r.read(last), IoStatus::Ok);
    EXPECT_EQ(last, 2.5f);
    EXPECT_EQ(r.skip_reals(3000000000LL), IoStatus::Ok);   // past the slash: nulls
    EXPECT_EQ(r.items_read(), 5000000001LL);
}
