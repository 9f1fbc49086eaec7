#include "io/line_reader.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "io/errors.h"
#include "io/files.h"

namespace tn {

LineReader::LineReader(const std::string& path, std::size_t block, std::size_t max_line)
    : name_(path), buf_(block < 4096 ? 4096 : block), max_line_(max_line) {
    const int fd = open_input_file(path);   // a regular file only, as every reader of input takes it
    f_ = ::fdopen(fd, "rb");
    if (!f_) {
        const int e = errno;
        ::close(fd);
        throw file_error(path, 0, std::string("cannot open the file: ") + std::strerror(e));
    }
    std::setvbuf(f_, nullptr, _IONBF, 0);   // the blocks are our buffer
}

LineReader::~LineReader() {
    if (f_) std::fclose(f_);
}

bool LineReader::fill() {
    if (eof_) return false;
    if (begin_ > 0) {   // keep the unfinished line at the front
        std::memmove(buf_.data(), buf_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ == buf_.size()) buf_.resize(buf_.size() * 2);
    const std::size_t n = std::fread(buf_.data() + end_, 1, buf_.size() - end_, f_);
    if (n == 0) {
        if (std::ferror(f_)) throw file_error(name_, line_ + 1, std::string("cannot read the file: ") + std::strerror(errno));
        eof_ = true;
        return false;
    }
    end_ += n;
    return true;
}

IoStatus LineReader::next_record(std::string_view& rec) {
    std::size_t scanned = begin_;
    for (;;) {
        const char* from = buf_.data() + scanned;
        const void* nl = std::memchr(from, '\n', end_ - scanned);
        if (nl) {
            const std::size_t at = static_cast<std::size_t>(static_cast<const char*>(nl) - buf_.data());
            std::size_t len = at - begin_;
            if (len > max_line_) break;
            if (len > 0 && buf_[at - 1] == '\r') --len;   // files made on Windows
            rec = std::string_view(buf_.data() + begin_, len);
            begin_ = at + 1;
            ++line_;
            open_end_ = false;
            return IoStatus::Ok;
        }
        if (end_ - begin_ > max_line_) break;
        const std::size_t done = end_ - begin_;
        if (!fill()) {
            if (begin_ == end_) return IoStatus::End;
            std::size_t len = end_ - begin_;
            if (buf_[end_ - 1] == '\r') --len;
            rec = std::string_view(buf_.data() + begin_, len);
            begin_ = end_;
            ++line_;
            open_end_ = true;
            return IoStatus::Ok;
        }
        scanned = begin_ + done;
    }
    throw file_error(name_, line_ + 1,
                     "expected a line of at most " + std::to_string(max_line_) +
                         " characters, found a longer one: this is not a text file of the expected kind");
}

}  // namespace tn
