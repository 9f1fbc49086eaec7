#include "io/errors.h"

namespace tn {

RunError file_error(const std::string& file, long line, const std::string& what) {
    std::string msg = file;
    if (line > 0) msg += ":" + std::to_string(line);
    msg += ": " + what;
    return RunError(msg);
}

RunError binary_error(const std::string& file, long long offset, const std::string& what) {
    return RunError(file + ": byte " + std::to_string(offset) + ": " + what);
}

}  // namespace tn
