#include "io/clock.h"

#include <cstdlib>
#include <ctime>
#include <string>

#include "io/errors.h"

namespace tn {

namespace {

// 9999-12-31 23:59:59 UTC.
constexpr long long kLastSecond = 253402300799LL;

// The moment SOURCE_DATE_EPOCH gives: false when it is unset or empty; `bad` when it is set
// otherwise than as digits from 0 to kLastSecond.
bool source_date_epoch(long long& t, bool& bad) {
    bad = false;
    const char* s = std::getenv("SOURCE_DATE_EPOCH");
    if (!s || !*s) return false;
    long long v = 0;
    for (const char* p = s; *p; ++p) {
        if (*p < '0' || *p > '9' || v > kLastSecond) {
            bad = true;
            return false;
        }
        v = v * 10 + (*p - '0');
    }
    if (v > kLastSecond) {
        bad = true;
        return false;
    }
    t = v;
    return true;
}

}  // namespace

CivilDate today() {
    std::time_t t = std::time(nullptr);
    long long fixed = 0;
    bool bad = false;
    const bool utc = source_date_epoch(fixed, bad);
    if (utc) t = static_cast<std::time_t>(fixed);
    std::tm tm {};
    if (utc) gmtime_r(&t, &tm);
    else localtime_r(&t, &tm);
    return CivilDate{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday};
}

void check_source_date_epoch() {
    long long t = 0;
    bool bad = false;
    source_date_epoch(t, bad);
    if (bad) {
        throw RunError("SOURCE_DATE_EPOCH is '" + std::string(std::getenv("SOURCE_DATE_EPOCH")) +
                       "'; it must be a whole number of seconds since 1970-01-01 UTC, digits only, from 0 to " +
                       std::to_string(kLastSecond) + " (the end of the year 9999), or be unset");
    }
}

const char* month_abbrev(int month) {
    static const char* const names[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return month >= 1 && month <= 12 ? names[month - 1] : "???";
}

}  // namespace tn
