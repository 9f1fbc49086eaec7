// File-system questions and result files.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "io/staged_file.h"

namespace tn {

// Whether a file (or folder) of that name exists; trailing blanks of the name do not count.
// An empty or all-blank name never exists.
bool file_exists(std::string_view name);

// Opens an input file for reading and returns its descriptor (the caller closes it). Only a regular
// file is accepted: a missing file, a folder, a device (/dev/zero), a named pipe or a socket stops
// the run with a message naming the file and what stands there. A named pipe is refused without
// waiting for a writer.
int open_input_file(const std::string& path);

// The program's folder, without a trailing separator: the part of argument 0 before its last '/',
// or, when argument 0 holds no '/' (the program was found through PATH), the folder of the running
// executable. Empty when neither can be had.
std::string program_folder(std::string_view argv0);

// A result file written in whole records, all or nothing: it is written as a partial file beside
// its name (see StagedFile) and put in place by commit(). A file that is destroyed without a commit
// is removed, and an earlier file of that name stays as it was. A failed write ends the run with a
// message naming the file.
class OutFile {
public:
    OutFile() = default;
    ~OutFile();
    OutFile(const OutFile&) = delete;
    OutFile& operator=(const OutFile&) = delete;

    void open(const std::string& path);
    bool is_open() const { return f_ != nullptr; }
    const std::string& name() const { return stage_.name(); }
    // One line: the text and a line end.
    void line(std::string_view text);
    // Raw bytes, in one operation.
    void write(std::string_view bytes);
    void flush();
    // Ends the writing (the file is complete, not yet in place).
    void close();
    // Closes the file and puts it in place under its name.
    void commit();
    // Closes and puts several files in place together (a table and its companion).
    static void commit_together(OutFile& a, OutFile& b);
    // The stage of the file, to put it in place together with files of other writers (after close()).
    StagedFile& stage() { return stage_; }

private:
    [[noreturn]] void write_failure() const;
    std::FILE* f_ = nullptr;
    StagedFile stage_;
};

}  // namespace tn
