// Fixed-column text fields.
//
// A field is columns a to b of a record, counted from 1; a record shorter than b reads as if it were
// padded with blanks. Numeric fields follow the edit descriptors of the files' era:
//   Iw   an optionally signed integer; blanks anywhere in the field are ignored, an all-blank field
//        is 0.
//   Fw.d an optionally signed real, with an optional exponent (E, D or Q, or a sign alone: "1.5+3");
//        blanks are ignored and an all-blank field is 0. When the field holds no decimal point the
//        last d digits of the mantissa are decimals ("12345" in F6.3 is 12.345). "Inf", "Infinity"
//        and "NaN" are accepted in any case. The decimal text is rounded once, to the target's width.
#pragma once

#include <string>
#include <string_view>

#include "io/text_file.h"

namespace tn {

// Columns a..b of rec, blank-padded to the field's width.
std::string field(std::string_view rec, int a, int b);

// Parse a field; false when it is not a number of the kind. `out` is untouched then.
bool parse_int_field(std::string_view fld, int& out);
bool parse_real_field(std::string_view fld, int decimals, float& out);
bool parse_real_field(std::string_view fld, int decimals, double& out);

// Read columns a..b of rec, or end the run with "FILE:LINE: columns a-b: expected ..., found '...'".
// `src` names the file and the line (the record last handed out); `what` says what the field holds.
int read_int_columns(const RecordSource& src, std::string_view rec, int a, int b, std::string_view what);
float read_real_columns(const RecordSource& src, std::string_view rec, int a, int b, int decimals,
                        std::string_view what);
// A file name from columns 1 to 255 of rec (the line last handed out by `src`), trailing blanks
// removed. A name that goes on past column 255, or that holds a NUL byte, ends the run with
// "FILE:LINE: what: ..." instead of being cut.
std::string read_name_columns(const RecordSource& src, std::string_view rec, std::string_view what);

double read_double_columns(const RecordSource& src, std::string_view rec, int a, int b, int decimals,
                           std::string_view what);

}  // namespace tn
