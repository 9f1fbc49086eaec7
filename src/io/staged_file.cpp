#include "io/staged_file.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "io/errors.h"

namespace tn {

namespace {

// What the signal handler needs of each result being written, in fixed storage: the handler may
// neither allocate nor take a lock. A slot is filled while `used` is false and published by setting
// it; the handler reads only published slots.
constexpr int kSlots = 16;
constexpr std::size_t kPathRoom = 4200;
struct InterruptSlot {
    std::atomic<bool> used{false};
    char partial[kPathRoom];
    char lock[kPathRoom];
    char message[2 * kPathRoom + 128];
};
InterruptSlot interrupt_slots[kSlots];
char interrupt_program[64] = "tracknoise";

void copy_text(char* to, std::size_t room, const std::string& s) {
    const std::size_t n = s.size() < room - 1 ? s.size() : room - 1;
    std::memcpy(to, s.data(), n);
    to[n] = '\0';
}

// SIGINT and SIGTERM held back on this thread while a slot or a rename changes.
struct HoldInterrupts {
    sigset_t old{};
    HoldInterrupts() {
        sigset_t s;
        sigemptyset(&s);
        sigaddset(&s, SIGINT);
        sigaddset(&s, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &s, &old);
    }
    ~HoldInterrupts() { pthread_sigmask(SIG_SETMASK, &old, nullptr); }
};

extern "C" void on_interrupt(int sig) {
    bool any = false;
    for (InterruptSlot& s : interrupt_slots) {
        if (!s.used.load()) continue;
        any = true;
        ::unlink(s.partial);
        ::unlink(s.lock);
        const ssize_t w = ::write(2, s.message, std::strlen(s.message));
        (void)w;
    }
    if (!any) {
        const ssize_t a = ::write(2, interrupt_program, std::strlen(interrupt_program));
        const ssize_t b = ::write(2, ": interrupted\n", 14);
        (void)a;
        (void)b;
    }
    ::_exit(128 + sig);
}

// The process that holds a POSIX record lock on `fd`'s file, or 0 when it cannot be told.
long lock_holder(int fd) {
    struct flock fl {};
    fl.l_type = F_WRLCK;
    fl.l_whence = SEEK_SET;
    if (::fcntl(fd, F_GETLK, &fl) == 0 && fl.l_type != F_UNLCK) return static_cast<long>(fl.l_pid);
    return 0;
}

}  // namespace

bool earlier_result_exists(const std::string& name) {
    struct stat st {};
    return ::stat(name.c_str(), &st) == 0;
}

void install_interrupt_handlers(const char* program) {
    copy_text(interrupt_program, sizeof interrupt_program, program);
    struct sigaction sa {};
    sa.sa_handler = on_interrupt;
    sigemptyset(&sa.sa_mask);
    sigaddset(&sa.sa_mask, SIGINT);
    sigaddset(&sa.sa_mask, SIGTERM);
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);
}

StagedFile::~StagedFile() {
    try {
        abandon();
    } catch (...) {
    }
}

void StagedFile::begin(const std::string& name) {
    abandon();
    struct stat st {};
    if (::stat(name.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
        throw file_error(name, 0, "cannot create the result file: a folder of that name exists");
    }
    // Absolute names: the working folder may move while the file is written (source tables move it).
    std::error_code ec;
    const std::filesystem::path where = std::filesystem::absolute(name, ec);
    const std::string target = ec ? name : where.string();
    const std::string lock = target + ".lock";
    // Take the lock; a lock file that another run removed meanwhile is taken again by its new name.
    int fd = -1;
    for (int attempt = 0; attempt < 100; ++attempt) {
        fd = ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0) {
            throw file_error(name, 0, std::string("cannot create the result file: ") + std::strerror(errno));
        }
        struct flock fl {};
        fl.l_type = F_WRLCK;
        fl.l_whence = SEEK_SET;
        if (::fcntl(fd, F_SETLK, &fl) != 0) {
            const int e = errno;
            const long pid = lock_holder(fd);
            ::close(fd);
            if (e == EACCES || e == EAGAIN) {
                throw file_error(name, 0,
                                 "another run " + (pid > 0 ? "(process " + std::to_string(pid) + ") " : std::string()) +
                                     "is writing this result now; wait for it to end or give this run another name");
            }
            throw file_error(name, 0, std::string("cannot lock the result file: ") + std::strerror(e));
        }
        struct stat by_fd {}, by_name {};
        if (::fstat(fd, &by_fd) == 0 && ::stat(lock.c_str(), &by_name) == 0 && by_fd.st_ino == by_name.st_ino &&
            by_fd.st_dev == by_name.st_dev) {
            break;
        }
        ::close(fd);
        fd = -1;
    }
    if (fd < 0) throw file_error(name, 0, "cannot lock the result file: its lock file keeps changing");

    name_ = name;
    target_ = target;
    partial_ = target + ".partial";
    lock_ = lock;
    lock_fd_ = fd;
    active_ = true;

    const HoldInterrupts hold;
    for (int k = 0; k < kSlots; ++k) {
        InterruptSlot& s = interrupt_slots[k];
        if (s.used.load()) continue;
        copy_text(s.partial, sizeof s.partial, partial_);
        copy_text(s.lock, sizeof s.lock, lock_);
        std::string msg = std::string(interrupt_program) + ": interrupted; " + name + " was not written";
        if (earlier_result_exists(target)) msg += " (an earlier " + name + " is unchanged)";
        copy_text(s.message, sizeof s.message, msg + "\n");
        s.used.store(true);
        slot_ = k;
        break;
    }
}

void StagedFile::release() {
    const HoldInterrupts hold;
    if (slot_ >= 0) interrupt_slots[slot_].used.store(false);
    slot_ = -1;
    if (lock_fd_ >= 0) {
        ::unlink(lock_.c_str());
        ::close(lock_fd_);
    }
    lock_fd_ = -1;
    active_ = false;
}

void StagedFile::commit() {
    if (!active_) return;
    commit_together({this});
}

void StagedFile::commit_together(const std::vector<StagedFile*>& files) {
    const HoldInterrupts hold;
    for (StagedFile* f : files) {
        if (!f->active_) continue;
        if (::rename(f->partial_.c_str(), f->target_.c_str()) != 0) {
            const int e = errno;
            throw file_error(f->name_, 0, std::string("cannot put the finished result in place: ") + std::strerror(e));
        }
    }
    for (StagedFile* f : files) {
        if (f->active_) f->release();
    }
}

void StagedFile::abandon() {
    if (!active_) return;
    ::unlink(partial_.c_str());
    release();
}

}  // namespace tn
