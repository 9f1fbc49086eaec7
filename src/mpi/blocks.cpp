#include "mpi/blocks.h"

#include <cstring>

#include "results/history_codec.h"

namespace tn::mpi {

namespace {

// A name no trajectory point can give: a source named per point that no point has set yet.
const Name255 kUnsetName{std::string(1, '\x01')};

std::uint32_t float_bits(float v) {
    std::uint32_t u;
    std::memcpy(&u, &v, sizeof u);
    return u;
}

float bits_float(std::uint64_t u) {
    const auto w = static_cast<std::uint32_t>(u);
    float v;
    std::memcpy(&v, &w, sizeof v);
    return v;
}

void put_name(std::string& out, const Name255& name) {
    const std::string_view t = name.trimmed();
    put_varint(out, t.size());
    out.append(t);
}

bool get_name(std::string_view in, std::size_t& pos, Name255& name) {
    std::uint64_t n = 0;
    if (!get_varint(in, pos, n) || n > Name255::size || in.size() - pos < n) return false;
    name = in.substr(pos, n);
    pos += n;
    return true;
}

}  // namespace

SpreadStart spread_start(const PoolRun& run) {
    SpreadStart s;
    s.Srcfile = *run.shared.Srcfile;
    s.Reload = *run.shared.Reload;
    s.kept_height = *run.shared.kept_height;
    s.hemi = *run.shared.current_hemi;
    s.Ptsrc = run.rc->Npts > 0 && run.rc->Traj[0].Ptsrc;
    return s;
}

void compute_block(const PoolRun& run, const SpreadStart& start, std::uint64_t run_no, Block b, RcvWork& work,
                   ReceiverHistory& scratch, std::string& out, const std::atomic<bool>& stop) {
    out.clear();
    put_varint(out, run_no);
    put_varint(out, static_cast<std::uint64_t>(b.first));
    put_varint(out, static_cast<std::uint64_t>(b.last));
    BlockEnd end;
    float kept = start.kept_height;   // never read before a receiver's own lookup replaces it
    for (long idx = b.first; idx <= b.last; ++idx) {
        if (stop.load(std::memory_order_relaxed)) return;
        const SITEREC& r = (*run.receivers)[static_cast<std::size_t>(idx - 1)];
        Name255 srcfile = start.Ptsrc ? kUnsetName : start.Srcfile;
        bool reload = start.Reload;
        const HEMIREC* hemi = start.hemi;
        RcvShared mine = run.shared;
        mine.Srcfile = &srcfile;
        mine.Reload = &reload;
        mine.kept_height = &kept;
        mine.current_hemi = &hemi;
        receiver_history(*run.rc, r, static_cast<int>(idx), run.Tstart, mine, work, scratch);
        if (scratch.computed) {
            end.computed = true;
            end.kept_height = kept;
            if (start.Ptsrc && !(srcfile == kUnsetName)) {
                end.srcfile_set = true;
                end.Srcfile = srcfile;
            }
        }
        encode_history(scratch, out);
    }
    out += static_cast<char>((end.computed ? 1 : 0) | (end.srcfile_set ? 2 : 0));
    put_varint(out, float_bits(end.kept_height));
    put_name(out, end.Srcfile);
}

bool read_block_head(std::string_view in, std::size_t& pos, std::uint64_t& run_no, Block& b) {
    std::uint64_t first = 0, last = 0;
    if (!get_varint(in, pos, run_no) || !get_varint(in, pos, first) || !get_varint(in, pos, last)) return false;
    b.first = static_cast<long>(first);
    b.last = static_cast<long>(last);
    return !b.empty();
}

bool read_block_end(std::string_view in, std::size_t& pos, BlockEnd& end) {
    if (pos >= in.size()) return false;
    const auto marks = static_cast<unsigned char>(in[pos++]);
    std::uint64_t bits = 0;
    if (marks > 3 || !get_varint(in, pos, bits) || !get_name(in, pos, end.Srcfile)) return false;
    end.computed = (marks & 1u) != 0;
    end.srcfile_set = (marks & 2u) != 0;
    end.kept_height = bits_float(bits);
    return pos == in.size();
}

void apply_block_end(const BlockEnd& end, RcvShared& shared) {
    if (end.srcfile_set) *shared.Srcfile = end.Srcfile;
    if (end.computed) *shared.kept_height = end.kept_height;
}

std::string run_end_bytes(std::uint64_t run_no, const RcvShared& shared) {
    std::string out;
    put_varint(out, run_no);
    put_varint(out, float_bits(*shared.kept_height));
    out += static_cast<char>(*shared.Reload ? 1 : 0);
    put_name(out, *shared.Srcfile);
    return out;
}

bool apply_run_end(std::string_view in, std::uint64_t run_no, RcvShared& shared) {
    std::size_t pos = 0;
    std::uint64_t run = 0, bits = 0;
    Name255 name;
    if (!get_varint(in, pos, run) || run != run_no || !get_varint(in, pos, bits) || pos >= in.size()) return false;
    const char reload = in[pos++];
    if (!get_name(in, pos, name) || pos != in.size()) return false;
    *shared.kept_height = bits_float(bits);
    *shared.Reload = reload != 0;
    *shared.Srcfile = name;
    return true;
}

std::string number_bytes(std::initializer_list<std::int64_t> v) {
    std::string out;
    for (const std::int64_t x : v) put_signed(out, x);
    return out;
}

bool read_numbers(std::string_view in, std::int64_t* v, int n) {
    std::size_t pos = 0;
    for (int k = 0; k < n; ++k) {
        if (!get_signed(in, pos, v[k])) return false;
    }
    return pos == in.size();
}

}  // namespace tn::mpi
