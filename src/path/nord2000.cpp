#include "path/nord2000.h"

#include "io/errors.h"

namespace tn {

void nord_path_effect(int, const float*, const float*, int, const float*, float*, const PROFPT*, const PROFPT*,
                      const PathModel&) {
    throw RunError("the weather-driven propagation path is not available in this build");
}

}  // namespace tn
