// The receivers of a run spread over the processes of an MPI job.
//
// Every process reads the script and sets up the case itself, and comes to each run with the same
// receivers. Rank 0 hands out blocks of receivers on demand (large at first, down to one receiver
// at the end, so that every process stays busy however the costs of receivers differ), computes
// blocks itself on its own threads, takes the finished blocks back in receiver order and writes
// them; the other ranks compute the blocks they are given on their threads and send the results.
// Writing is the one part that does not spread: while blocks wait to be written, one of rank 0's
// threads leaves its core to the writing (with one thread, rank 0 computes only when there is
// nothing to write).
// At most a window of finished receivers waits at rank 0 to be written (some 256 MB of results),
// so that its memory does not grow with the number of receivers.
//
// Where the run must go in order (the weather path, or receivers that read the height kept from
// the receiver before), rank 0 computes the receivers alone, in order, and the others wait. At the
// end of every run rank 0 tells the others the values that live from receiver to receiver (kept
// height, source name, Reload), so that every process goes on from the state an in-order run
// leaves.
//
// A failure anywhere stops the whole job: a worker's failure reaches rank 0 as a message, which
// ends the run there as its own failure would (the result file is not left looking complete); rank
// 0 then tells the others to stop. See main.cpp for the end of the job.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "batch/receiver_pool.h"
#include "io/errors.h"
#include "mpi/comm.h"

namespace tn::mpi {

// Thrown on a worker told by rank 0 to stop.
class Stopped : public RunError {
public:
    Stopped() : RunError("stopped, as another process of the job failed") {}
};

class SpreadRunner final : public ReceiverRunner {
public:
    // `stats`: at the start and the end of every spread run, rank 0 writes its counts to `log`;
    // `started`: MPI_Wtime at the start of the program.
    SpreadRunner(Comm& comm, bool stats, std::ostream& log, double started)
        : comm_(comm), stats_(stats), log_(log), started_(started) {}
    void run(PoolRun& run, bool order, const ComputeInOrder& in_order, const EmitReceiver& emit) override;

    // A worker's failure met by rank 0: what the worker said, with where it ran.
    static RunError worker_failure(const Message& m);
    // A worker has been told to stop by rank 0.
    bool stopped() const { return stopped_; }

private:
    void coordinate(PoolRun& run, const EmitReceiver& emit);
    void in_order_here(PoolRun& run, const ComputeInOrder& in_order);
    void wait_for_ready();
    void end_run(const PoolRun& run);
    void work(PoolRun& run);
    void wait_for_end(PoolRun& run);
    // A message a worker did not expect: a stop, or a fault of this program.
    [[noreturn]] void unexpected(const Message& m);

    Comm& comm_;
    bool stats_;
    std::ostream& log_;
    double started_;
    std::uint64_t run_no_ = 0;
    std::vector<bool> ready_;   // rank 0: the workers that have come to the current run
    bool stopped_ = false;
};

}  // namespace tn::mpi
