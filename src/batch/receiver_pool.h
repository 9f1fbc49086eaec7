// Receivers of a run computed on several threads, their results handed back in receiver order.
//
// A receiver's history depends on the receivers before it only through values kept from call to
// call: the last good terrain height, the source file named by the latest point, the loaded source
// tables. The pool runs receivers at once only where none of these can make a difference:
//   - each receiver's first terrain lookup (at its own position) gives a good height, so the kept
//     height it starts with is never read; otherwise the run goes on in order;
//   - the source tables of the run are loaded before (the caller runs receivers in order until they
//     are);
//   - a source named per point is set at every point before it is used; the name the run leaves
//     behind is the one of the last receiver, in order, that set it.
// Each worker has its own working storage. At most a fixed window of finished receivers waits to be
// written, so memory does not grow with the number of receivers.
#pragma once

#include <functional>
#include <vector>

#include "path/rcvhist.h"

namespace tn {

struct PoolRun {
    const RcvCase* rc = nullptr;
    std::vector<SITEREC>* receivers = nullptr;   // positions from 1: receivers[idx - 1]
    long first = 1;                              // receivers first..last are computed
    long last = 0;
    float Tstart = 0.0f;
    RcvShared shared;                            // the run's shared values, updated as if in order
    int threads = 1;
};

// Called on the calling thread for every receiver first..last in order, computed or passed over.
using EmitReceiver = std::function<void(long idx, const ReceiverHistory& h)>;

// Whether the receivers first..last can run at once (see above); the caller falls back to order.
bool receivers_independent(const PoolRun& run);

// Computes receivers first..last on run.threads threads and emits them in order. An error of a
// receiver is thrown after the receivers before it are emitted.
void compute_receivers(PoolRun& run, const EmitReceiver& emit);

// Computes one receiver with the run's shared values themselves, and emits it.
using ComputeInOrder = std::function<void(long idx)>;

// How a run computes its receivers first..last once the in-order start of the run (up to the load
// of its source tables) is behind it: in this process, or spread over processes. Every process of
// a run calls it alike; receivers are emitted in order, by the process that writes the results,
// and the shared values (kept height, source name, Reload) end as an in-order run leaves them, in
// every process. `order`: the receivers must go in order whatever the threads (the weather path,
// whose library may keep state from call to call).
class ReceiverRunner {
public:
    virtual ~ReceiverRunner() = default;
    virtual void run(PoolRun& run, bool order, const ComputeInOrder& in_order, const EmitReceiver& emit) = 0;
};

// This process alone: in order with one thread, with `order`, or when the receivers are not
// independent; otherwise on run.threads threads.
void run_receivers_here(PoolRun& run, bool order, const ComputeInOrder& in_order, const EmitReceiver& emit);

}  // namespace tn
