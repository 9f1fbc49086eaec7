// Sequential text files, record by record.
//
// A text file is read whole when it is opened and then handed out one record (line) at a time, so
// that the reader can step back (backspace) and start again (rewind) as the readers of this system
// do. A line that ends in CR LF reads as if the CR were not there; a last line without a line end is
// a record; an empty file has no records. A UTF-8 byte-order mark at the start is passed over; a
// line longer than 1 MiB stops the run with the file and the line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tn {

// Outcome of a read that reports its status instead of ending the run.
enum class IoStatus {
    Ok,     // the read was satisfied
    End,    // the end of the file was met
    Error,  // a value could not be read in its place
};

// Anything that hands out records one after the other: a file, or a single internal record.
class RecordSource {
public:
    virtual ~RecordSource() = default;
    // The next record, or End when there is none. The view stays valid while the source lives.
    virtual IoStatus next_record(std::string_view& rec) = 0;
    // Name of the source for messages, and the number (from 1) of the record last handed out.
    virtual const std::string& name() const = 0;
    virtual long record_number() const = 0;
};

class TextFile : public RecordSource {
public:
    TextFile() = default;
    // Opens and reads the file; a file that cannot be opened or read ends the run with a clear
    // message naming the file and the reason (missing, a folder, a device or a pipe, no permission).
    explicit TextFile(const std::string& path) { open(path); }
    void open(const std::string& path);
    // Builds a file from text in memory (for internal reads and tests); `name` is used in messages.
    static TextFile from_text(std::string name, std::string_view text);

    IoStatus next_record(std::string_view& rec) override;
    const std::string& name() const override { return name_; }
    long record_number() const override { return static_cast<long>(pos_); }

    // Reads the next record into rec or ends the run with "FILE:LINE: unexpected end of file, what".
    std::string_view record_or_fail(std::string_view what);
    // Passes over n records; ends the run at the end of the file, naming what was expected.
    void skip_or_fail(int n, std::string_view what);
    // Passes over n records; returns End if the file ends first.
    IoStatus skip(int n);

    void backspace() { if (pos_ > 0) --pos_; }   // step back one record
    void rewind() { pos_ = 0; }
    bool at_end() const { return pos_ >= lines_.size(); }
    std::size_t count() const { return lines_.size(); }

private:
    void split(std::string_view text);

    std::string name_;
    std::vector<std::string> lines_;
    std::size_t pos_ = 0;   // index of the next record
};

// One internal record, read as a file of a single line (a field of a line read again, list-directed).
class StringRecord : public RecordSource {
public:
    StringRecord(std::string name, std::string_view text, long line = 0)
        : name_(std::move(name)), text_(text), line_(line) {}
    IoStatus next_record(std::string_view& rec) override {
        if (used_) return IoStatus::End;
        used_ = true;
        rec = text_;
        return IoStatus::Ok;
    }
    const std::string& name() const override { return name_; }
    long record_number() const override { return line_; }

private:
    std::string name_;
    std::string text_;
    long line_;
    bool used_ = false;
};

}  // namespace tn
