// Text files read line by line as a stream.
//
// Unlike TextFile, which holds the whole file, a LineReader keeps one block of the file in memory
// and hands out one line at a time, so that files of any size are read in bounded memory. A line
// that ends in CR LF reads as if the CR were not there; a last line without a line end is a line;
// an empty file has none. Lines are records for the readers of fixed fields and lists.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "io/text_file.h"

namespace tn {

class LineReader : public RecordSource {
public:
    // Opens the file; a file that cannot be opened ends the run with a message naming the file and
    // the reason. `block` is the size of the reads, bytes; `max_line` the longest line accepted
    // (a longer one stops with "FILE:LINE: expected a line of at most N characters...", which is
    // what a binary file usually gives).
    explicit LineReader(const std::string& path, std::size_t block = 1 << 18, std::size_t max_line = 1 << 16);
    ~LineReader() override;
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // The next line; the view stays valid until the next call.
    IoStatus next_record(std::string_view& rec) override;
    const std::string& name() const override { return name_; }
    long record_number() const override { return line_; }
    // Whether the last line handed out had no line end (the file stops inside it).
    bool last_line_open() const { return open_end_; }

private:
    bool fill();   // reads the next block behind what is left; false at the end of the file

    std::string name_;
    std::FILE* f_ = nullptr;
    std::vector<char> buf_;
    std::size_t begin_ = 0;   // first byte not yet handed out
    std::size_t end_ = 0;     // end of the bytes read
    std::size_t max_line_;
    long line_ = 0;
    bool eof_ = false;
    bool open_end_ = false;
};

}  // namespace tn
