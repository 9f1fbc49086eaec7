// Formatted writes in the manner of the old edit descriptors.
//
// Every result is exactly w characters, the number right-justified. A number that does not fit its
// field is written as w asterisks.
//   Iw    integer.
//   Iw.m  integer with at least m digits (leading zeros); with m = 0 a zero value is all blanks.
//   Fw.d  fixed point with d decimals, rounded to nearest from the exact binary value with ties to
//         even (as the common run-time libraries do); the zero in front of the point is left out
//         when the field has no room for it; a negative value that rounds to zero keeps its minus
//         sign ("-0.000"); infinities are written "Infinity" / "-Infinity" (or "Inf" / "-Inf" in a
//         narrower field), a not-a-number "NaN".
#pragma once

#include <string>

namespace tn {

std::string fmt_i(long long v, int w);
std::string fmt_i(long long v, int w, int m);
std::string fmt_f(double v, int w, int d);

// Appends to an existing line (avoids temporaries in loops that format many fields).
void append_i(std::string& out, long long v, int w);
void append_f(std::string& out, double v, int w, int d);

// Iw written into out[0 .. w-1], the same characters as append_i, with no terminator; returns
// out + w (out itself for w <= 0). For rows of many fields put into a line grown once.
char* put_i(char* out, long long v, int w);

}  // namespace tn
