#include "results/history_source.h"

namespace tn {

bool lattice_index(const SiteName& name, int& i, int& j) {
    const std::string_view s = name.trimmed();
    if (s.size() != 8) return false;
    int v[2] = {0, 0};
    for (std::size_t k = 0; k < 8; ++k) {
        if (s[k] < '0' || s[k] > '9') return false;
        v[k / 4] = v[k / 4] * 10 + (s[k] - '0');
    }
    i = v[0];
    j = v[1];
    return true;
}

}  // namespace tn
