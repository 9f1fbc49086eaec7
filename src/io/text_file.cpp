#include "io/text_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include "io/errors.h"

namespace tn {

void TextFile::open(const std::string& path) {
    name_ = path;
    lines_.clear();
    pos_ = 0;
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) {
        throw file_error(path, 0, std::string("cannot open the file: ") + std::strerror(errno));
    }
    if (S_ISDIR(st.st_mode)) throw file_error(path, 0, "cannot open the file: it is a folder, a file was expected");
    std::ifstream in(path, std::ios::binary);
    if (!in) throw file_error(path, 0, std::string("cannot open the file: ") + std::strerror(errno));
    std::ostringstream all;
    all << in.rdbuf();
    if (in.bad()) throw file_error(path, 0, "cannot read the file");
    split(all.str());
}

TextFile TextFile::from_text(std::string name, std::string_view text) {
    TextFile f;
    f.name_ = std::move(name);
    f.split(text);
    return f;
}

void TextFile::split(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        const bool last = end == std::string_view::npos;
        if (last) end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);   // files made on Windows
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
