// Result files that are all or nothing.
//
// A result NAME is written as NAME.partial in the same folder and renamed over NAME only when it is
// complete, so that NAME is always either the earlier result, untouched, or the whole new one. An
// advisory lock on NAME.lock (a POSIX record lock; the file holds nothing) keeps two runs from
// writing the same name at once: the second stops at once with the first one's process number.
// After the process is killed outright, NAME.partial and NAME.lock may stay behind; the next run
// that writes NAME takes both over (the lock of a dead process is free).
//
// SIGINT and SIGTERM, once install_interrupt_handlers has run, remove the partial files of every
// result being written, say so on standard error ("PROGRAM: interrupted; NAME was not written (an
// earlier NAME is unchanged)") and end the process with 128 + the signal's number (130, 143).
#pragma once

#include <string>
#include <vector>

namespace tn {

class StagedFile {
public:
    StagedFile() = default;
    ~StagedFile();   // abandons a file that was not committed
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;

    // Takes the lock of `name` and chooses its partial name; the caller creates the partial file
    // (any earlier partial file is the caller's to overwrite). Stops with a RunError naming the file
    // when another process holds the lock, when a folder stands at `name`, or when the lock cannot
    // be made.
    void begin(const std::string& name);
    bool active() const { return active_; }
    const std::string& name() const { return name_; }
    const std::string& partial() const { return partial_; }

    // Renames the partial file over the final name and releases the lock.
    void commit();
    // Removes the partial file and releases the lock; the final name keeps what it had.
    void abandon();

    // Renames several staged files together, with SIGINT and SIGTERM held back in between, so that
    // an interruption never leaves one renamed and another not (only a kill outright can).
    static void commit_together(const std::vector<StagedFile*>& files);

private:
    void release();
    std::string name_;      // as given, for messages
    std::string target_;    // the same, absolute
    std::string partial_;
    std::string lock_;
    int lock_fd_ = -1;
    int slot_ = -1;   // place in the list the signal handler reads
    bool active_ = false;
};

// Installs the handlers of SIGINT and SIGTERM described above; `program` begins their messages.
void install_interrupt_handlers(const char* program);

// Whether `name` exists now (for "an earlier NAME is unchanged").
bool earlier_result_exists(const std::string& name);

}  // namespace tn
