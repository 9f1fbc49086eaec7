#include "io/files.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/errors.h"

namespace tn {

bool file_exists(std::string_view name) {
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    if (name.empty()) return false;
    struct stat st {};
    return ::stat(std::string(name).c_str(), &st) == 0;
}

int open_input_file(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) throw file_error(path, 0, std::string("cannot open the file: ") + std::strerror(errno));
    struct stat st {};
    const char* what = nullptr;
    if (::fstat(fd, &st) != 0) what = "its kind cannot be told";
    else if (S_ISDIR(st.st_mode)) what = "it is a folder, a file was expected";
    else if (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode)) what = "it is a device, a regular file was expected";
    else if (S_ISFIFO(st.st_mode)) what = "it is a named pipe, a regular file was expected";
    else if (S_ISSOCK(st.st_mode)) what = "it is a socket, a regular file was expected";
    else if (!S_ISREG(st.st_mode)) what = "it is not a regular file";
    if (what) {
        ::close(fd);
        throw file_error(path, 0, std::string("cannot open the file: ") + what);
    }
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0) ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    return fd;
}

std::string program_folder(std::string_view argv0) {
    const std::size_t slash = argv0.rfind('/');
    if (slash != std::string_view::npos) return std::string(argv0.substr(0, slash));
    char buf[PATH_MAX + 1];
    const ssize_t n = ::readlink("/proc/self/exe", buf, PATH_MAX);
    if (n <= 0) return {};
    const std::string exe(buf, static_cast<std::size_t>(n));
    const std::size_t s = exe.rfind('/');
    return s == std::string::npos ? std::string() : exe.substr(0, s);
}

OutFile::~OutFile() {
    if (f_) std::fclose(f_);
    // The stage removes a partial file that was not committed.
}

void OutFile::open(const std::string& path) {
    if (f_) std::fclose(f_);
    f_ = nullptr;
    stage_.begin(path);
    f_ = std::fopen(stage_.partial().c_str(), "wb");
    if (!f_) {
        const int e = errno;
        stage_.abandon();
        throw file_error(path, 0, std::string("cannot create the result file: ") + std::strerror(e));
    }
}

void OutFile::write_failure() const {
    throw file_error(name(), 0, std::string("cannot write the result file: ") + std::strerror(errno));
}

void OutFile::line(std::string_view text) {
    if (!f_) write_failure();
    if (std::fwrite(text.data(), 1, text.size(), f_) != text.size() || std::fputc('\n', f_) == EOF) write_failure();
}

void OutFile::write(std::string_view bytes) {
    if (!f_) write_failure();
    if (std::fwrite(bytes.data(), 1, bytes.size(), f_) != bytes.size()) write_failure();
}

void OutFile::flush() {
    if (f_ && std::fflush(f_) != 0) write_failure();
}

void OutFile::close() {
    if (!f_) return;
    std::FILE* f = f_;
    f_ = nullptr;
    if (std::fclose(f) != 0) {
        throw file_error(name(), 0, std::string("cannot write the result file: ") + std::strerror(errno));
    }
}

void OutFile::commit() {
    close();
    stage_.commit();
}

void OutFile::commit_together(OutFile& a, OutFile& b) {
    a.close();
    b.close();
    StagedFile::commit_together({&a.stage_, &b.stage_});
}

}  // namespace tn
