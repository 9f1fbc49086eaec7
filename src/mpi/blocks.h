// Blocks of receivers computed apart from the run's in-order path, as the bytes that go to rank 0.
//
// A block is receivers first..last of a run, computed in order by one thread, each with its own
// copies of the values shared from receiver to receiver, as the thread pool does (see
// batch/receiver_pool.h for why that gives the in-order results): the kept height is never read
// before the receiver's own lookup replaces it, and a source named per point is set before use.
// What the block leaves behind (the kept height after its last computed receiver, the source name
// its last point set) travels with it, so that rank 0, taking the blocks in order, ends the run
// with the values an in-order run leaves.
//
// Bytes of a block: the run number, first and last (variable-length numbers), the histories of the
// receivers in order (results/history_codec.h), then the block's end: a byte of marks (1: a
// receiver was computed, 2: a source name was set), the kept height's bits, and the source name
// without trailing blanks.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "batch/receiver_pool.h"

namespace tn::mpi {

// The shared values as the spread part of a run finds them; every thread starts from a copy.
struct SpreadStart {
    Name255 Srcfile;
    bool Reload = false;
    float kept_height = 0.0f;
    const HEMIREC* hemi = nullptr;
    bool Ptsrc = false;   // the trajectory names a source at every point
};
SpreadStart spread_start(const PoolRun& run);

struct Block {
    long first = 0;
    long last = -1;
    bool empty() const { return last < first; }
};

// What a block, or a whole run, leaves for the receivers after it.
struct BlockEnd {
    bool computed = false;      // a receiver was computed; kept_height is the height it left
    float kept_height = 0.0f;
    bool srcfile_set = false;   // a point named the source; Srcfile is the last name
    Name255 Srcfile;
};

// Computes the block's receivers in order and writes the block's bytes into `out`. Stops between
// receivers once `stop` is set (the bytes are then of no use).
void compute_block(const PoolRun& run, const SpreadStart& start, std::uint64_t run_no, Block b, RcvWork& work,
                   ReceiverHistory& scratch, std::string& out, const std::atomic<bool>& stop);

// Reads the head of a block's bytes; false when malformed.
bool read_block_head(std::string_view in, std::size_t& pos, std::uint64_t& run_no, Block& b);
// Reads the end of a block's bytes (after its histories); false when malformed.
bool read_block_end(std::string_view in, std::size_t& pos, BlockEnd& end);
// Takes over what a block left, as in-order receivers would have left it.
void apply_block_end(const BlockEnd& end, RcvShared& shared);

// The run's end as rank 0 tells the others: its run number, kept height, Reload and source name.
std::string run_end_bytes(std::uint64_t run_no, const RcvShared& shared);
bool apply_run_end(std::string_view in, std::uint64_t run_no, RcvShared& shared);

// Small messages of numbers (hand-outs, run numbers).
std::string number_bytes(std::initializer_list<std::int64_t> v);
bool read_numbers(std::string_view in, std::int64_t* v, int n);

}  // namespace tn::mpi
