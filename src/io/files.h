// File-system questions and result files.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace tn {

// Whether a file (or folder) of that name exists; trailing blanks of the name do not count.
// An empty or all-blank name never exists.
bool file_exists(std::string_view name);

// The program's folder, without a trailing separator: the part of argument 0 before its last '/',
// or, when argument 0 holds no '/' (the program was found through PATH), the folder of the running
// executable. Empty when neither can be had.
std::string program_folder(std::string_view argv0);

// A result file written in whole records. Opening replaces an existing file. A failed write ends
// the run with a message naming the file.
class OutFile {
public:
    OutFile() = default;
    ~OutFile() { if (f_) std::fclose(f_); }
    OutFile(const OutFile&) = delete;
    OutFile& operator=(const OutFile&) = delete;

    void open(const std::string& path);
    bool is_open() const { return f_ != nullptr; }
    const std::string& name() const { return name_; }
    // One line: the text and a line end.
    void line(std::string_view text);
    // Raw bytes, in one operation.
    void write(std::string_view bytes);
    void flush();
    void close();

private:
    [[noreturn]] void write_failure() const;
    std::FILE* f_ = nullptr;
    std::string name_;
};

}  // namespace tn
