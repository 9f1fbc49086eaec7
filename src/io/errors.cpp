#include "io/errors.h"

namespace tn {

RunError file_error(const std::string& file, long line, const std::string& what) {
    std::string msg = file;
    if (line > 0) {
        msg.push_back(':');
        msg.append(std::to_string(line));
    }
    msg.append(": ");
    msg.append(what);
    return RunError(msg);
}

RunError binary_error(const std::string& file, long long offset, const std::string& what) {
    std::string msg = file;
    msg.append(": byte ");
    msg.append(std::to_string(offset));
    msg.append(": ");
    msg.append(what);
    return RunError(msg);
}

}  // namespace tn
