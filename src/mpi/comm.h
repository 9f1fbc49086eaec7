// Messages between the processes of a run: rank 0 hands out receivers and writes; the others
// compute.
//
// Only the main thread of a process calls MPI. No call blocks for long: a process waits by asking
// whether a message has come and sleeping a little in between (up to 2 ms), so that a waiting
// process leaves its core to the threads that compute, and every wait can see a message that stops
// the run. Small messages (hand-outs, marks) are sent at once; blocks of results are sent without
// waiting and kept until they have gone.
#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <string>

#include <mpi.h>

namespace tn::mpi {

// What a message is, by its tag.
enum Tag : int {
    kAssign = 101,   // 0 -> worker: run number, first and last receiver of a block
    kResult,         // worker -> 0: a computed block (see blocks.h)
    kReady,          // worker -> 0: run number; the worker has come to the spread part of the run
    kEndRun,         // 0 -> worker: run number, kept height, Reload, source name: the run is over
    kError,          // worker -> 0: the worker's failure, as its message text
    kAbort,          // 0 -> worker: stop the run and the program
    kAbortSeen,      // worker -> 0: stopped; nothing more comes from this worker
    kDone,           // worker -> 0: the script ended well here
    kFinish,         // 0 -> worker: the script ended well everywhere
};

struct Message {
    int source = -1;
    int tag = 0;
    std::string bytes;
};

// Counts for --stats, on the process that keeps them.
struct Traffic {
    std::uint64_t sent = 0, received = 0;             // messages
    std::uint64_t bytes_sent = 0, bytes_received = 0;
};

class Comm {
public:
    Comm();
    ~Comm();
    Comm(const Comm&) = delete;
    Comm& operator=(const Comm&) = delete;

    int rank() const { return rank_; }
    int size() const { return size_; }
    Traffic traffic;

    // Takes one message that has come from `source` (MPI_ANY_SOURCE: from anyone), if there is one.
    bool poll(Message& m, int source = MPI_ANY_SOURCE);
    // Sends a small message and returns when it is on its way.
    void send(int dest, int tag, const std::string& bytes);
    // Sends without waiting; the bytes are kept until they have gone.
    void post(int dest, int tag, std::string bytes);
    // Lets posted messages go on; true when all of them have gone.
    bool sends_done();

private:
    struct Pending {
        std::string bytes;
        MPI_Request request = MPI_REQUEST_NULL;
    };
    int rank_ = 0;
    int size_ = 1;
    std::list<Pending> pending_;
};

// Sleeps of a process that waits: 50 microseconds at first, doubled while nothing comes, 2 ms at
// most; back to the first after something has come.
class Backoff {
public:
    std::chrono::microseconds next() {
        const auto d = now_;
        if (now_ < std::chrono::microseconds(2000)) now_ *= 2;
        return d;
    }
    void reset() { now_ = std::chrono::microseconds(50); }
    void sleep();

private:
    std::chrono::microseconds now_{50};
};

}  // namespace tn::mpi
