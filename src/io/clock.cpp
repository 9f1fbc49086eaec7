#include "io/clock.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace tn {

CivilDate today() {
    std::time_t t = std::time(nullptr);
    bool utc = false;
    if (const char* s = std::getenv("SOURCE_DATE_EPOCH"); s && *s) {
        char* end = nullptr;
        errno = 0;
        const long long v = std::strtoll(s, &end, 10);
        if (errno == 0 && end && *end == '\0') {
            t = static_cast<std::time_t>(v);
            utc = true;
        }
    }
    std::tm tm {};
    if (utc) gmtime_r(&t, &tm);
    else localtime_r(&t, &tm);
    return CivilDate{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday};
}

const char* month_abbrev(int month) {
    static const char* const names[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return month >= 1 && month <= 12 ? names[month - 1] : "???";
}

}  // namespace tn
