// Formatted writes. Expected texts were produced once by GNU Fortran 12.2 writing the same values
// with the same edit descriptors (program kept in the commit message of this test's first version:
// write(*,'(f5.2)') 0.125 and so on).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "io/format.h"

using namespace tn;

TEST(FormatF, RoundingLeadingZeroSignAndOverflow) {
    struct Case { double v; int w; int d; const char* text; };
    const Case cases[] = {
        {0.125, 5, 2, " 0.12"},      // ties to even on the exact value
        {0.375, 5, 2, " 0.38"},
        {2.5, 3, 0, " 2."},
        {-0.4, 4, 0, " -0."},
        {-0.0001, 6, 3, "-0.000"},   // negative rounding to zero keeps its sign
        {0.5, 4, 3, ".500"},         // no room for the leading zero
        {-0.5, 4, 2, "-.50"},
        {-0.5, 3, 2, "***"},
        {1e20, 12, 3, "************"},
        {static_cast<double>(37.8f), 12, 7, "  37.7999992"},   // a float's own digits
        {123456.5, 12, 0, "     123456."},
        {0.4, 12, 0, "          0."},
        {5415.5, 12, 3, "    5415.500"},
    };
    for (const Case& c : cases) EXPECT_EQ(fmt_f(c.v, c.w, c.d), c.text) << c.v;
    EXPECT_EQ(fmt_f(std::numeric_limits<double>::infinity(), 12, 3), "    Infinity");
    EXPECT_EQ(fmt_f(-std::numeric_limits<double>::infinity(), 12, 3), "   -Infinity");
    EXPECT_EQ(fmt_f(std::nan(""), 12, 3), "         NaN");
    EXPECT_EQ(fmt_f(std::numeric_limits<double>::infinity(), 4, 1), " Inf");
}

TEST(FormatI, WidthsLeadingZerosAndAsterisks) {
    EXPECT_EQ(fmt_i(12345, 4), "****");
    EXPECT_EQ(fmt_i(-999, 4), "-999");
    EXPECT_EQ(fmt_i(-1000, 4), "****");
    EXPECT_EQ(fmt_i(9999, 4), "9999");
    EXPECT_EQ(fmt_i(0, 4), "   0");
    EXPECT_EQ(fmt_i(7, 4, 4), "0007");
    EXPECT_EQ(fmt_i(-7, 4, 4), "****");
    EXPECT_EQ(fmt_i(12, 3, 3), "012");
    EXPECT_EQ(fmt_i(1000, 3, 3), "***");   // the thousandth blank site name has no room: "Site***"
    EXPECT_EQ(fmt_i(0, 3, 0), "   ");
}
