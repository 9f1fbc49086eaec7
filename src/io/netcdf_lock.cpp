#include "io/netcdf_lock.h"

namespace tn {

std::mutex& netcdf_mutex() {
    static std::mutex m;
    return m;
}

}  // namespace tn
