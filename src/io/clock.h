// The date that goes into result files.
#pragma once

namespace tn {

struct CivilDate {
    int year = 1970;
    int month = 1;   // 1..12
    int day = 1;     // 1..31
};

// Today's date from the wall clock, in local time. When the environment variable
// SOURCE_DATE_EPOCH holds a number of seconds since 1970-01-01 UTC (the reproducible-builds
// convention), that moment is used instead, as a UTC date, so that result files can be
// byte-identical from run to run. An empty SOURCE_DATE_EPOCH counts as unset.
CivilDate today();

// Stops the run (a RunError) when SOURCE_DATE_EPOCH is set to anything but a whole number of
// seconds, digits only, from 0 to the end of the year 9999 (the widest year the result headers
// hold), as the convention asks of a malformed value. Called once before anything is written.
void check_source_date_epoch();

// Three-letter English month name, "Jan" to "Dec".
const char* month_abbrev(int month);

}  // namespace tn
