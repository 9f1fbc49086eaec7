// The two console streams, both on standard output.
//
// The plain console writes each record as a line. The progress console works like a line printer:
// the first character of a record is a control character and is not shown; a blank starts a new
// line, "+" returns to the start of the current line so that the record overwrites the one before
// (shorter records are padded with blanks so that nothing of the longer one stays visible).
#pragma once

#include <ostream>
#include <string_view>

namespace tn {

class Console {
public:
    explicit Console(std::ostream& out) : out_(out) {}
    ~Console() { end_progress(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // Plain console: one line as written.
    void line(std::string_view text);
    // Plain console, a list-style write of one text: a leading blank, then the text.
    void list_line(std::string_view text);
    // Progress console: one record, control character first.
    void progress(std::string_view record);
    // Ends a progress line that is still open (the cursor stands behind it).
    void end_progress();

private:
    std::ostream& out_;
    bool open_ = false;       // a progress line stands on the screen without its line end
    std::size_t width_ = 0;   // visible width of that line
};

}  // namespace tn
