#include "mpi/spread.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <sys/resource.h>
#include <condition_variable>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <ostream>
#include <sstream>
#include <thread>
#include <vector>

#include "mpi/blocks.h"
#include "results/history_codec.h"

namespace tn::mpi {

namespace {

// Results that may wait at rank 0 to be written, in bytes as they travel.
constexpr double kWindowBytes = 256.0 * 1024 * 1024;
// Largest block handed out, in receivers: big enough that messages stay few, small enough that the
// work spreads evenly.
constexpr long kMaxBlock = 64;

// Bytes of a receiver's results as they travel: some 40 per point and a head.
double receiver_bytes(int Npts) { return 160.0 + 44.0 * (Npts > 0 ? Npts : 0); }

// Processor time of the calling thread, seconds: the cost of writing, whatever else the machine does.
double thread_seconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

// Largest resident memory of this process so far, MB.
double peak_megabytes() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_maxrss) / 1024.0;
}

RunError protocol_fault(const std::string& what) {
    return RunError("internal fault of the job's messages: " + what + "; please report it");
}

// Threads of one process that compute blocks from a queue and put their bytes into an outbox.
class BlockThreads {
public:
    BlockThreads(const PoolRun& run, const SpreadStart& start, std::uint64_t run_no, int threads)
        : run_(run), start_(start), run_no_(run_no) {
        for (int t = 0; t < threads; ++t) threads_.emplace_back([this] { loop(); });
    }
    ~BlockThreads() { stop(); }

    void stop() {
        {
            std::lock_guard<std::mutex> lock(m_);
            halt_ = true;
        }
        stop_flag_.store(true);
        work_.notify_all();
        for (std::thread& t : threads_) {
            if (t.joinable()) t.join();
        }
    }
    void add(Block b) {
        {
            std::lock_guard<std::mutex> lock(m_);
            queue_.push_back(b);
        }
        work_.notify_one();
    }
    // Finished blocks since the last call, in the order they finished; rethrows a thread's failure.
    void take(std::vector<std::string>& out) {
        std::lock_guard<std::mutex> lock(m_);
        if (error_) std::rethrow_exception(error_);
        for (std::string& b : done_) out.push_back(std::move(b));
        done_.clear();
    }
    // Waits until a block finishes or `d` passes.
    void wait(std::chrono::microseconds d) {
        std::unique_lock<std::mutex> lock(m_);
        finished_.wait_for(lock, d, [this] { return !done_.empty() || error_; });
    }

private:
    void loop() {
        RcvWork work;
        ReceiverHistory scratch;
        for (;;) {
            Block b;
            {
                std::unique_lock<std::mutex> lock(m_);
                work_.wait(lock, [this] { return halt_ || !queue_.empty(); });
                if (halt_) return;
                b = queue_.front();
                queue_.pop_front();
            }
            std::string bytes;
            try {
                compute_block(run_, start_, run_no_, b, work, scratch, bytes, stop_flag_);
            } catch (...) {
                std::lock_guard<std::mutex> lock(m_);
                if (!error_) error_ = std::current_exception();
                finished_.notify_all();
                return;
            }
            {
                std::lock_guard<std::mutex> lock(m_);
                done_.push_back(std::move(bytes));
            }
            finished_.notify_all();
        }
    }

    const PoolRun& run_;
    const SpreadStart& start_;
    std::uint64_t run_no_;
    std::mutex m_;
    std::condition_variable work_, finished_;
    std::deque<Block> queue_;
    std::vector<std::string> done_;
    std::exception_ptr error_;
    bool halt_ = false;
    std::atomic<bool> stop_flag_{false};
    std::vector<std::thread> threads_;
};

}  // namespace

RunError SpreadRunner::worker_failure(const Message& m) {
    // The worker sends its host's name, a line end, then its message as it would have printed it.
    std::string text = m.bytes;
    std::string host;
    const std::size_t nl = text.find('\n');
    if (nl != std::string::npos) {
        host = text.substr(0, nl);
        text.erase(0, nl + 1);
    }
    const std::size_t colon = text.find(": ");
    if (colon != std::string::npos && text.find('\n') > colon) text.erase(0, colon + 2);   // the program's name
    while (!text.empty() && text.back() == '\n') text.pop_back();
    if (text.empty()) text = "failed without a message";
    return RunError(text + " (met by rank " + std::to_string(m.source) + (host.empty() ? "" : " on " + host) + ")");
}

void SpreadRunner::run(PoolRun& run, bool order, const ComputeInOrder& in_order, const EmitReceiver& emit) {
    ++run_no_;
    if (comm_.size() < 2) {
        run_receivers_here(run, order, in_order, emit);
        return;
    }
    // Every process decides alike, from the same case and receivers.
    const bool spread = !order && receivers_independent(run);
    if (comm_.rank() == 0) {
        ready_.assign(static_cast<std::size_t>(comm_.size()), false);
        ready_[0] = true;
        if (spread) coordinate(run, emit);
        else in_order_here(run, in_order);
        end_run(run);
    } else {
        comm_.send(0, kReady, number_bytes({static_cast<std::int64_t>(run_no_)}));
        if (spread) work(run);
        else wait_for_end(run);
    }
}

void SpreadRunner::in_order_here(PoolRun& run, const ComputeInOrder& in_order) {
    for (long idx = run.first; idx <= run.last; ++idx) in_order(idx);
    wait_for_ready();
}

void SpreadRunner::wait_for_ready() {
    Backoff backoff;
    while (!std::all_of(ready_.begin(), ready_.end(), [](bool r) { return r; })) {
        Message m;
        if (!comm_.poll(m)) {
            backoff.sleep();
            continue;
        }
        backoff.reset();
        std::int64_t n = 0;
        if (m.tag == kError) throw worker_failure(m);
        if (m.tag != kReady || !read_numbers(m.bytes, &n, 1) || n != static_cast<std::int64_t>(run_no_)) {
            throw protocol_fault("rank 0 met message " + std::to_string(m.tag) + " from rank " +
                                 std::to_string(m.source) + " while waiting for run " + std::to_string(run_no_));
        }
        ready_[static_cast<std::size_t>(m.source)] = true;
    }
}

void SpreadRunner::end_run(const PoolRun& run) {
    const std::string bytes = run_end_bytes(run_no_, run.shared);
    for (int w = 1; w < comm_.size(); ++w) comm_.send(w, kEndRun, bytes);
}

void SpreadRunner::coordinate(PoolRun& run, const EmitReceiver& emit) {
    const auto started = std::chrono::steady_clock::now();
    const Traffic traffic_before = comm_.traffic;
    if (stats_) {
        std::ostringstream line;
        line.precision(4);
        line << "stats: run " << run_no_ << ": receivers " << run.first << " to " << run.last << " spread from "
             << MPI_Wtime() - started_ << " s after the start (set-up, receivers and in-order start)\n";
        log_ << line.str() << std::flush;
    }
    const int nranks = comm_.size();
    const int threads = std::max(1, run.threads);
    const long count = run.last - run.first + 1;
    // Blocks out at once: each worker one per thread and one waiting; rank 0 one per thread.
    const long depth = threads + 1;
    const long out_at_once = static_cast<long>(nranks - 1) * depth + threads;
    // Receivers that may be handed out ahead of the next one to be written: the memory budget, but
    // never fewer than one for every thread of the job (with fewer, threads would stand idle).
    const long window = std::max(static_cast<long>(nranks) * threads,
                                 static_cast<long>(kWindowBytes / receiver_bytes(run.rc->Npts)));
    const long max_block = std::clamp(window / (2 * out_at_once), 1L, kMaxBlock);
    const long workers_total = static_cast<long>(nranks) * threads;

    // Hand-out state, shared with rank 0's own threads.
    std::mutex m;
    std::condition_variable space, finished;
    long next_assign = run.first;
    long next_emit = run.first;   // changed by this thread only
    std::map<long, std::string> done;   // finished blocks by their first receiver
    std::exception_ptr local_error;
    bool halt = false;
    bool writing_due = false;   // the next block in order is here to be written
    int computing = 0;          // rank 0's own threads computing a block
    std::atomic<bool> stop_flag{false};
    long blocks = 0;
    long own_receivers = 0;     // computed by rank 0's own threads

    // The next block, under the lock: guided (a share of what is left), never past the window.
    const auto claim = [&]() -> Block {
        Block b;
        if (next_assign > run.last) return b;
        const long room_end = next_emit + window - 1;
        if (next_assign > room_end) return b;
        const long left = run.last - next_assign + 1;
        const long size = std::clamp(left / (2 * workers_total), 1L, max_block);
        b.first = next_assign;
        b.last = std::min({run.last, room_end, next_assign + size - 1});
        next_assign = b.last + 1;
        ++blocks;
        return b;
    };

    std::vector<long> out(static_cast<std::size_t>(nranks), 0);   // blocks each worker holds
    std::map<long, std::pair<int, long>> given;   // blocks out at workers: first -> (rank, last)
    const auto refill = [&](int w) {
        while (out[static_cast<std::size_t>(w)] < depth) {
            Block b;
            {
                std::lock_guard<std::mutex> lock(m);
                b = claim();
            }
            if (b.empty()) return;
            comm_.send(w, kAssign, number_bytes({static_cast<std::int64_t>(run_no_), b.first, b.last}));
            ++out[static_cast<std::size_t>(w)];
            given[b.first] = {w, b.last};
        }
    };
    // The workers' first blocks go out before rank 0's own threads take theirs.
    for (int w = 1; w < nranks; ++w) refill(w);

    const SpreadStart start = spread_start(run);
    std::vector<std::thread> own;
    const auto stop_own = [&] {
        {
            std::lock_guard<std::mutex> lock(m);
            halt = true;
        }
        stop_flag.store(true);
        space.notify_all();
        for (std::thread& t : own) {
            if (t.joinable()) t.join();
        }
    };
    for (int t = 0; t < threads; ++t) {
        own.emplace_back([&] {
            RcvWork work;
            ReceiverHistory scratch;
            for (;;) {
                Block b;
                {
                    std::unique_lock<std::mutex> lock(m);
                    space.wait(lock, [&] {
                        if (halt || next_assign > run.last) return true;
                        // While there is writing to do, it keeps a core of rank 0's to itself.
                        if (writing_due && computing >= threads - 1) return false;
                        b = claim();
                        return !b.empty();
                    });
                    if (b.empty()) return;
                    ++computing;
                }
                std::string bytes;
                try {
                    compute_block(run, start, run_no_, b, work, scratch, bytes, stop_flag);
                } catch (...) {
                    std::lock_guard<std::mutex> lock(m);
                    if (!local_error) local_error = std::current_exception();
                    finished.notify_all();
                    return;
                }
                {
                    std::lock_guard<std::mutex> lock(m);
                    --computing;
                    own_receivers += b.last - b.first + 1;
                    done.emplace(b.first, std::move(bytes));
                }
                finished.notify_all();
            }
        });
    }

    double writing = 0.0;
    try {
        ReceiverHistory h;
        Backoff backoff;
        for (;;) {
            bool progressed = false;
            Message msg;
            while (comm_.poll(msg)) {
                progressed = true;
                if (msg.tag == kResult) {
                    std::size_t pos = 0;
                    std::uint64_t rn = 0;
                    Block b;
                    const auto g = read_block_head(msg.bytes, pos, rn, b) && rn == run_no_ ? given.find(b.first)
                                                                                            : given.end();
                    if (g == given.end() || g->second != std::make_pair(msg.source, b.last)) {
                        throw protocol_fault("rank " + std::to_string(msg.source) +
                                             " sent a block it was not given in run " + std::to_string(run_no_));
                    }
                    given.erase(g);
                    {
                        std::lock_guard<std::mutex> lock(m);
                        done.emplace(b.first, std::move(msg.bytes));
                    }
                    --out[static_cast<std::size_t>(msg.source)];
                    refill(msg.source);
                } else if (msg.tag == kReady) {
                    std::int64_t n = 0;
                    if (!read_numbers(msg.bytes, &n, 1) || n != static_cast<std::int64_t>(run_no_)) {
                        throw protocol_fault("rank " + std::to_string(msg.source) + " came to another run");
                    }
                    ready_[static_cast<std::size_t>(msg.source)] = true;
                } else if (msg.tag == kError) {
                    throw worker_failure(msg);
                } else {
                    throw protocol_fault("rank 0 met message " + std::to_string(msg.tag) + " during a run");
                }
            }

            // Write the finished blocks that are next in receiver order.
            for (;;) {
                std::string bytes;
                {
                    std::lock_guard<std::mutex> lock(m);
                    if (local_error) std::rethrow_exception(local_error);
                    const auto it = done.find(next_emit);
                    const bool was_due = writing_due;
                    writing_due = it != done.end();
                    if (!writing_due) {
                        if (was_due) space.notify_all();
                        break;
                    }
                    bytes = std::move(it->second);
                    done.erase(it);
                }
                const double t0 = thread_seconds();
                std::size_t pos = 0;
                std::uint64_t rn = 0;
                Block b;
                BlockEnd end;
                bool ok = read_block_head(bytes, pos, rn, b);
                for (long idx = b.first; ok && idx <= b.last; ++idx) {
                    ok = decode_history(bytes, pos, h);
                    if (ok) emit(idx, h);
                }
                if (!ok || !read_block_end(bytes, pos, end)) {
                    throw protocol_fault("the block of receivers " + std::to_string(b.first) + " to " +
                                         std::to_string(b.last) + " came damaged");
                }
                apply_block_end(end, run.shared);
                writing += thread_seconds() - t0;
                {
                    std::lock_guard<std::mutex> lock(m);
                    next_emit = b.last + 1;
                }
                space.notify_all();
                for (int w = 1; w < nranks; ++w) refill(w);
                progressed = true;
            }

            if (next_emit > run.last && std::all_of(ready_.begin(), ready_.end(), [](bool r) { return r; })) break;
            if (progressed) {
                backoff.reset();
            } else {
                std::unique_lock<std::mutex> lock(m);
                finished.wait_for(lock, backoff.next(), [&] { return local_error || done.count(next_emit) > 0; });
            }
        }
    } catch (...) {
        stop_own();
        throw;
    }
    stop_own();

    if (stats_) {
        const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        const double in_msgs = static_cast<double>(comm_.traffic.received - traffic_before.received);
        const double out_msgs = static_cast<double>(comm_.traffic.sent - traffic_before.sent);
        const double in_bytes = static_cast<double>(comm_.traffic.bytes_received - traffic_before.bytes_received);
        const double n = static_cast<double>(count);
        std::ostringstream line;
        line.precision(4);
        line << "stats: run " << run_no_ << ": " << count << " receivers in " << blocks << " blocks on " << nranks
             << " processes x " << threads << " threads (window " << window << ", largest block " << max_block
             << "), " << own_receivers << " of them on rank 0; " << wall << " s; writing took " << writing << " s of processor time; messages " << (in_msgs + out_msgs) / n
             << " per receiver; bytes received " << in_bytes / std::max(1.0, n - static_cast<double>(own_receivers))
             << " per receiver computed elsewhere, " << in_bytes / 1e6
             << " MB; rank 0's peak memory " << peak_megabytes() << " MB\n";
        log_ << line.str() << std::flush;
    }
}

void SpreadRunner::work(PoolRun& run) {
    const SpreadStart start = spread_start(run);
    BlockThreads threads(run, start, run_no_, std::max(1, run.threads));
    std::vector<std::string> finished;
    Backoff backoff;
    long held = 0;   // blocks given and not yet sent back
    for (;;) {
        bool progressed = false;
        Message msg;
        while (comm_.poll(msg, 0)) {
            progressed = true;
            if (msg.tag == kAssign) {
                std::int64_t v[3] = {};
                if (!read_numbers(msg.bytes, v, 3) || v[0] != static_cast<std::int64_t>(run_no_) || v[2] < v[1]) {
                    throw protocol_fault("a hand-out of another run came to rank " + std::to_string(comm_.rank()));
                }
                threads.add(Block{static_cast<long>(v[1]), static_cast<long>(v[2])});
                ++held;
            } else if (msg.tag == kEndRun) {
                if (held != 0) throw protocol_fault("the run ended while rank " + std::to_string(comm_.rank()) + " held blocks");
                if (!apply_run_end(msg.bytes, run_no_, run.shared)) throw protocol_fault("the end of a run came damaged");
                threads.stop();
                while (!comm_.sends_done()) backoff.sleep();
                return;
            } else {
                unexpected(msg);
            }
        }
        finished.clear();
        threads.take(finished);
        for (std::string& b : finished) {
            comm_.post(0, kResult, std::move(b));
            --held;
            progressed = true;
        }
        comm_.sends_done();
        if (progressed) backoff.reset();
        else threads.wait(backoff.next());
    }
}

void SpreadRunner::wait_for_end(PoolRun& run) {
    Backoff backoff;
    for (;;) {
        Message m;
        if (!comm_.poll(m, 0)) {
            backoff.sleep();
            continue;
        }
        if (m.tag != kEndRun) unexpected(m);
        if (!apply_run_end(m.bytes, run_no_, run.shared)) throw protocol_fault("the end of a run came damaged");
        return;
    }
}

[[noreturn]] void SpreadRunner::unexpected(const Message& m) {
    if (m.tag == kAbort) {
        stopped_ = true;
        throw Stopped();
    }
    throw protocol_fault("rank " + std::to_string(comm_.rank()) + " met message " + std::to_string(m.tag) +
                         " during run " + std::to_string(run_no_));
}

}  // namespace tn::mpi
