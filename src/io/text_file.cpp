#include "io/text_file.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "io/errors.h"
#include "io/files.h"

namespace tn {

namespace {

// Longest line a text input may have, in bytes without its line end: far beyond any line of this
// system's files, it stops a file that is not text before it fills the memory.
constexpr std::size_t kMaxLine = std::size_t{1} << 20;

[[noreturn]] void line_too_long(const std::string& name, std::size_t line) {
    throw file_error(name, static_cast<long>(line),
                     "the line is longer than 1 MiB (" + std::to_string(kMaxLine) +
                         " characters); this is not a text file of the kind expected here");
}

}  // namespace

void TextFile::open(const std::string& path) {
    name_ = path;
    lines_.clear();
    pos_ = 0;
    const int fd = open_input_file(path);
    std::string all;
    std::size_t line = 1, run = 0;   // the line being read and its length so far
    char buf[1 << 16];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            const int e = errno;
            ::close(fd);
            throw file_error(path, 0, std::string("cannot read the file: ") + std::strerror(e));
        }
        if (n == 0) break;
        for (ssize_t k = 0; k < n; ++k) {
            if (buf[k] == '\n') {
                ++line;
                run = 0;
            } else if (++run > kMaxLine + 1) {   // one more for a CR before the line end
                ::close(fd);
                line_too_long(path, line);
            }
        }
        all.append(buf, static_cast<std::size_t>(n));
    }
    ::close(fd);
    split(all);
}

TextFile TextFile::from_text(std::string name, std::string_view text) {
    TextFile f;
    f.name_ = std::move(name);
    f.split(text);
    return f;
}

void TextFile::split(std::string_view text) {
    // A UTF-8 byte-order mark, as editors put at the start of a file, is not part of the text.
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        const bool last = end == std::string_view::npos;
        if (last) end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);   // files made on Windows
        if (line.size() > kMaxLine) line_too_long(name_, lines_.size() + 1);
        lines_.emplace_back(line);
        start = last ? text.size() : end + 1;
    }
}

IoStatus TextFile::next_record(std::string_view& rec) {
    if (pos_ >= lines_.size()) return IoStatus::End;
    rec = lines_[pos_++];
    return IoStatus::Ok;
}

std::string_view TextFile::record_or_fail(std::string_view what) {
    std::string_view rec;
    if (next_record(rec) != IoStatus::Ok) {
        throw file_error(name_, static_cast<long>(pos_) + 1,
                         "unexpected end of file, expected " + std::string(what));
    }
    return rec;
}

void TextFile::skip_or_fail(int n, std::string_view what) {
    for (int k = 0; k < n; ++k) record_or_fail(what);
}

IoStatus TextFile::skip(int n) {
    std::string_view rec;
    for (int k = 0; k < n; ++k) {
        if (next_record(rec) != IoStatus::Ok) return IoStatus::End;
    }
    return IoStatus::Ok;
}

}  // namespace tn
