// The one way a run ends early.
//
// Every stop of the program, whether the system's own stop with a console text or a failure of the
// file layer, is thrown as a RunError and turned by main into the console text (standard output),
// a message on standard error ("tracknoise: FILE:LINE: what was expected, what was found") and a
// non-zero exit code. Readers can thus be driven to their failure by tests and fuzzers without
// ending the process.
#pragma once

#include <stdexcept>
#include <string>

namespace tn {

class RunError : public std::runtime_error {
public:
    // message: the diagnostic for standard error, without the "tracknoise: " prefix.
    // console:  the system's own stop text for the console (standard output), one line per '\n';
    //           empty for a stop without text.
    explicit RunError(const std::string& message, std::string console = {}, int exit_code = 1)
        : std::runtime_error(message), console_(std::move(console)), exit_code_(exit_code) {}

    const std::string& console() const noexcept { return console_; }
    int exit_code() const noexcept { return exit_code_; }

private:
    std::string console_;
    int exit_code_;
};

// A failure located in a file: "FILE:LINE: what".  line <= 0 leaves the line out.
RunError file_error(const std::string& file, long line, const std::string& what);
// A failure in a binary file, located by byte offset: "FILE: byte N: what".
RunError binary_error(const std::string& file, long long offset, const std::string& what);

}  // namespace tn
