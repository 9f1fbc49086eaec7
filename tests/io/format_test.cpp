// Formatted writes. Expected texts were produced once by GNU Fortran 12.2 writing the same values
// with the same edit descriptors (program kept in the commit message of this test's first version:
// write(*,'(f5.2)') 0.125 and so on).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "io/format.h"

using namespace tn;

TEST(FormatF, RoundingLeadingZeroSignAndOverflow) {
    const double inf = std::numeric_limits<double>::infinity();
    const struct { double v; int w; int d; const char* text; } cases[] = {
        {0.125, 5, 2, " 0.12"},      // ties to even on the exact value
        {0.375, 5, 2, " 0.38"},      {2.5, 3, 0, " 2."},      {-0.4, 4, 0, " -0."},
        {-0.0001, 6, 3, "-0.000"},   // negative rounding to zero keeps its sign
        {0.5, 4, 3, ".500"},         // no room for the leading zero
        {-0.5, 4, 2, "-.50"},        {-0.5, 3, 2, "***"},     {1e20, 12, 3, "************"},
        {static_cast<double>(37.8f), 12, 7, "  37.7999992"},   // a float's own digits
        {123456.5, 12, 0, "     123456."},   {0.4, 12, 0, "          0."},   {5415.5, 12, 3, "    5415.500"},
        {inf, 12, 3, "    Infinity"},        {-inf, 12, 3, "   -Infinity"},  {inf, 4, 1, " Inf"},
        {std::nan(""), 12, 3, "         NaN"},
    };
    for (const auto& c : cases) EXPECT_EQ(fmt_f(c.v, c.w, c.d), c.text) << c.v << " " << c.w << "." << c.d;
}

// Iw.m; m = -1 stands for Iw.
TEST(FormatI, WidthsLeadingZerosAndAsterisks) {
    const struct { int v, w, m; const char* text; } cases[] = {
        {12345, 4, -1, "****"}, {-999, 4, -1, "-999"}, {-1000, 4, -1, "****"}, {9999, 4, -1, "9999"},
        {0, 4, -1, "   0"},     {7, 4, 4, "0007"},    {-7, 4, 4, "****"},    {12, 3, 3, "012"},
        {1000, 3, 3, "***"},   // the thousandth blank site name has no room: "Site***"
        {0, 3, 0, "   "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.m < 0 ? fmt_i(c.v, c.w) : fmt_i(c.v, c.w, c.m), c.text) << c.v << " i" << c.w << "." << c.m;
}

// The row writer's fields (put_i: a table for I4 from -999 to 9999, digits by hand elsewhere) give
// the characters of the general writer, across and beyond the table's ends.
TEST(FormatI, RowFieldsAsTheGeneralWriter) {
    for (int w : {3, 4, 5}) {
        for (long long v = -1100; v <= 10100; ++v) {
            char buf[8];
            ASSERT_EQ(put_i(buf, v, w), buf + w);
            ASSERT_EQ(std::string(buf, static_cast<std::size_t>(w)), fmt_i(v, w)) << v << " i" << w;
        }
    }
}

// Fw.d of the result rows' times against the C library's own "%.*f" (the independent reference):
// values of a float's precision, exact ties of the last decimal, and the ends of the range worked
// without the library (below 2^52, up to 3 decimals) and just beyond it.
TEST(FormatF, RowTimesAsTheCLibraryWritesThem) {
    std::vector<double> values = {0.0, 0.0005, 0.0015, 0.0625, 0.1875, 2.5, 36000.0625, 4503599627370495.5,
                                  4503599627370496.0, 5e-324, 1e-3};
    for (int k = 0; k < 4000; ++k) values.push_back(static_cast<double>(0.37f * static_cast<float>(k * k)));
    for (int k = 0; k < 4000; ++k) values.push_back(std::ldexp(static_cast<double>(k * 7919 % 100003), -(k % 30)));
    for (const double v : values) {
        for (int d = 0; d <= 4; ++d) {
            char want[400];
            std::snprintf(want, sizeof want, "%40.*f%s", d, v, d == 0 ? "." : "");
            EXPECT_EQ(fmt_f(v, d == 0 ? 41 : 40, d), want) << v << " " << d;
        }
    }
}
