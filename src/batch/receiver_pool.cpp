#include "batch/receiver_pool.h"

#include <cmath>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>
#include <thread>

#include "path/profile.h"

namespace tn {

namespace {

// A name no trajectory point can give: marks a per-point source name that no point has set yet.
const Name255 kUnsetName{std::string(1, '\x01')};

struct Slot {
    ReceiverHistory hist;
    bool srcfile_set = false;      // a point set the run's source name
    Name255 srcfile;
    float kept_after = 0.0f;       // the last good terrain height after the receiver
    std::exception_ptr error;
    bool ready = false;
};

}  // namespace

bool receivers_independent(const PoolRun& run) {
    const RcvCase& rc = *run.rc;
    for (long idx = run.first; idx <= run.last; ++idx) {
        const SITEREC& r = (*run.receivers)[static_cast<std::size_t>(idx - 1)];
        if (!(r.z > 0.0f)) continue;
        float kept = std::numeric_limits<float>::quiet_NaN();
        // A lookup that gives no good height returns the kept value, here not a number.
        if (std::isnan(TERRZ(rc.path.terrain, r.x, r.y, kept))) return false;
    }
    return true;
}

void compute_receivers(PoolRun& run, const EmitReceiver& emit) {
    const long count = run.last - run.first + 1;
    if (count <= 0) return;
    const int nthreads = static_cast<int>(std::min<long>(run.threads, count));
    const long window = 4L * nthreads;
    std::vector<Slot> slots(static_cast<std::size_t>(window));
    const bool Ptsrc = run.rc->Npts > 0 && run.rc->Traj[0].Ptsrc;

    std::mutex m;
    std::condition_variable space, done;
    long next_claim = run.first;   // the next receiver a worker takes
    long next_emit = run.first;    // the next receiver to hand back
    bool stop = false;

    auto worker = [&] {
        RcvWork work;
        for (;;) {
            long idx;
            float kept_before;   // the kept height as the receivers emitted so far leave it
            {
                std::unique_lock<std::mutex> lock(m);
                space.wait(lock, [&] { return stop || next_claim > run.last || next_claim < next_emit + window; });
                if (stop || next_claim > run.last) return;
                idx = next_claim++;
                kept_before = *run.shared.kept_height;
            }
            Slot& slot = slots[static_cast<std::size_t>((idx - run.first) % window)];
            try {
                const SITEREC& r = (*run.receivers)[static_cast<std::size_t>(idx - 1)];
                slot.srcfile_set = false;
                if (r.z > 0.0f) {
                    Name255 srcfile = Ptsrc ? kUnsetName : *run.shared.Srcfile;
                    bool reload = *run.shared.Reload;
                    float kept = kept_before;   // never read: the receiver's own first lookup is good
                    const HEMIREC* hemi = *run.shared.current_hemi;
                    RcvShared mine = run.shared;
                    mine.Srcfile = &srcfile;
                    mine.Reload = &reload;
                    mine.kept_height = &kept;
                    mine.current_hemi = &hemi;
                    RCVHIST(*run.rc, r, static_cast<int>(idx), run.Tstart, mine, work, slot.hist);
                    slot.kept_after = kept;
                    if (Ptsrc && !(srcfile == kUnsetName)) {
                        slot.srcfile_set = true;
                        slot.srcfile = srcfile;
                    }
                } else {
                    receiver_history(*run.rc, r, static_cast<int>(idx), run.Tstart, run.shared, work, slot.hist);
                }
            } catch (...) {
                slot.error = std::current_exception();
            }
            {
                std::lock_guard<std::mutex> lock(m);
                slot.ready = true;
            }
            done.notify_all();
        }
    };

    std::vector<std::thread> pool;
    pool.reserve(static_cast<std::size_t>(nthreads));
    for (int t = 0; t < nthreads; ++t) pool.emplace_back(worker);

    std::exception_ptr failure;
    try {
        for (long idx = run.first; idx <= run.last; ++idx) {
            Slot& slot = slots[static_cast<std::size_t>((idx - run.first) % window)];
            {
                std::unique_lock<std::mutex> lock(m);
                done.wait(lock, [&] { return slot.ready; });
            }
            if (slot.error) std::rethrow_exception(slot.error);
            if (slot.hist.computed && slot.srcfile_set) *run.shared.Srcfile = slot.srcfile;
            emit(idx, slot.hist);
            {
                std::lock_guard<std::mutex> lock(m);
                if (slot.hist.computed) *run.shared.kept_height = slot.kept_after;
                slot.ready = false;
                slot.error = nullptr;
                ++next_emit;
            }
            space.notify_all();
        }
    } catch (...) {
        failure = std::current_exception();
    }
    {
        std::lock_guard<std::mutex> lock(m);
        stop = true;
    }
    space.notify_all();
    for (std::thread& t : pool) t.join();
    if (failure) std::rethrow_exception(failure);
}

void run_receivers_here(PoolRun& run, bool order, const ComputeInOrder& in_order, const EmitReceiver& emit) {
    if (run.threads < 2 || order || !receivers_independent(run)) {
        for (long idx = run.first; idx <= run.last; ++idx) in_order(idx);
        return;
    }
    compute_receivers(run, emit);
}

}  // namespace tn
