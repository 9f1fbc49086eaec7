// Fixed-column fields. Expected values follow the edit descriptors of the files' era; the cases
// marked "gfortran" were checked once with a small program built by GNU Fortran 12.2 reading the
// same text with the same descriptor.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "io/fixed_fields.h"

using namespace tn;

TEST(Field, ColumnsOfShortAndLongRecords) {
    EXPECT_EQ(field("abcdefgh", 3, 5), "cde");
    EXPECT_EQ(field("abc", 2, 6), "bc   ");      // a short line reads as if padded with blanks
    EXPECT_EQ(field("", 1, 4), "    ");
    EXPECT_EQ(field("abc", 5, 8), "    ");
}

// A failed read leaves the target untouched: the failures expect the -99 it held.
TEST(IntField, BlanksSignsAndFailures) {
    const struct { const char* text; bool ok; int value; } cases[] = {
        {"    ", true, 0},          // all blank is zero
        {" 1 2", true, 12},         // blanks inside are ignored (gfortran, BN)
        {"  -7", true, -7},         {"+  3", true, 3},
        {"12.0", false, -99},       // a point is no integer
        {"  ab", false, -99},       {"   -", false, -99},
        {"2147483647", true, 2147483647},
        {"2147483648", false, -99},   // out of range for 32 bits
        {"-2147483648", true, std::numeric_limits<int>::min()},
    };
    for (const auto& c : cases) {
        int v = -99;
        EXPECT_EQ(parse_int_field(c.text, v), c.ok) << c.text;
        EXPECT_EQ(v, c.value) << c.text;
    }
}

TEST(RealField, ImpliedDecimalsAndExponents) {
    const double inf = std::numeric_limits<double>::infinity();
    const struct { const char* text; int d; bool ok; double value; } cases[] = {
        {" 15500", 3, true, 15.5},      // no point: three decimals implied (gfortran F6.3)
        {"15.5  ", 3, true, 15.5},      // a written point wins
        {"    15", 1, true, 1.5},       // f4.1-style implied decimal
        {"      ", 3, true, 0.0},       {"  -2.5", 3, true, -2.5},
        {" 1.5E2", 1, true, 150.0},     {" 1.5D2", 1, true, 150.0},
        {"1.5+2 ", 1, true, 150.0},     // a sign alone starts the exponent
        {"  15E1", 1, true, 15.0},      // implied decimals apply to the mantissa: 1.5E1
        {" 1 5.5", 1, true, 15.5},      // blanks ignored
        {"  .5  ", 3, true, 0.5},       {"   5. ", 3, true, 5.0},
        {"-Infinity", 1, true, -inf},
        {"  abc ", 1, false, -99.0},    {" 1.5.2", 1, false, -99.0},
        {" 1.5E ", 1, false, -99.0},    {"   -  ", 1, false, -99.0},
    };
    for (const auto& c : cases) {
        double v = -99.0;
        EXPECT_EQ(parse_real_field(c.text, c.d, v), c.ok) << c.text;
        if (c.ok) {
            EXPECT_DOUBLE_EQ(v, c.value) << c.text;
        }
    }
    double v = 0;
    EXPECT_TRUE(parse_real_field("   NaN", 1, v) && std::isnan(v));
}

TEST(RealField, FloatTargetsAreRoundedOnceFromTheText) {
    // 0.1 + 2^-28 lies between two floats; rounding through double first would land on the other
    // side in a double-rounding case. The nearest float to the decimal text is the reference,
    // as std::strtof gives it.
    float f = 0;
    ASSERT_TRUE(parse_real_field("1.00000005960464477539", 0, f));
    EXPECT_EQ(f, std::strtof("1.00000005960464477539", nullptr));
    ASSERT_TRUE(parse_real_field("  304.8037", 0, f));
    EXPECT_EQ(f, 304.8037f);
}
