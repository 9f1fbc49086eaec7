#include "source/srctable.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>
#include <unistd.h>

#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/list_input.h"
#include "io/text_file.h"
#include "source/srcangles.h"

namespace tn {

namespace {

// Most bands a run has room for: the band table of the result files.
constexpr int kMaxBands = 32;

// Whole part of a float towards zero, as the machine's conversion gives it: a value out of the
// integer range, or not a number, gives the most negative integer.
int trunc_int(float v) {
    if (!(v > -2147483648.0f && v < 2147483648.0f)) return INT_MIN;
    return static_cast<int>(v);
}

}  // namespace

SourceListHead read_source_list_head(const Name255& Srcfile) {
    SourceListHead head;
    TextFile f(Srcfile.str());
    f.skip_or_fail(1, "the source type on line 1");
    f.record_or_fail("the source name on line 2");   // kept by nobody
    for (int line = 3; line <= 4; ++line) {
        const std::string_view rec = f.record_or_fail("a number in columns 7-10");
        (void)read_real_columns(f, rec, 7, 10, 1, "a number read and not used");
    }
    list_read_or_fail(f, "the band count", head.Nband);
    if (head.Nband < 0 || head.Nband > kMaxBands) {
        throw file_error(f.name(), f.record_number(),
                         "the band count is " + std::to_string(head.Nband) + "; a run has room for 0 to 32 bands");
    }
    int conditions = 0;
    list_read_or_fail(f, "the condition count", conditions);
    if (conditions < 1 || conditions > kMaxConditions) {
        throw file_error(f.name(), f.record_number(),
                         "the condition count is " + std::to_string(conditions) + "; 1 to 20 conditions are possible");
    }
    f.skip_or_fail(conditions, "a condition line (table file and condition value)");
    head.Freq.assign(static_cast<std::size_t>(head.Nband), 0.0f);
    for (int b = 0; b < head.Nband; ++b) {
        list_read_or_fail(f, "the frequency of band " + std::to_string(b + 1) + " in Hz", head.Freq[static_cast<std::size_t>(b)]);
    }
    // The lowest source height is optional: a list that ends here keeps 10 feet; anything else that
    // stands here must be the height.
    ListReader r(f);
    if (r.read(head.Minagl_feet) == IoStatus::Error) r.fail("the lowest source height in feet, or the end of the list");
    return head;
}

void load_source_tables(const Name255& Srcfile, int Nband, SrcTableState& state) {
    const std::string name = Srcfile.str();
    // The list is opened by its name as the folder before the change saw it when the name was first
    // loaded: a later load of the same name (every run reloads) opens the same file, although the
    // working folder has moved to the list's folder since.
    auto known = state.list_paths.find(name);
    if (known == state.list_paths.end()) {
        std::error_code ec;
        std::filesystem::path resolved(name);
        if (resolved.is_relative()) {
            const std::filesystem::path cwd = std::filesystem::current_path(ec);
            if (!ec) resolved = cwd / resolved;
        }
        known = state.list_paths.emplace(name, resolved).first;
    }
    const std::filesystem::path& list_path = known->second;
    // The working folder becomes the list's folder for the rest of the process: the table files,
    // and every relative name opened later, resolve from there. A name without a folder changes
    // nothing. The result is not looked at.
    const std::size_t slash = name.rfind('/');
    if (slash != std::string::npos && slash > 0) {
        const std::filesystem::path folder = list_path.is_absolute() ? list_path.parent_path()
                                                                     : std::filesystem::path(name.substr(0, slash));
        std::error_code ec;
        const std::filesystem::path before = std::filesystem::current_path(ec);
        const int rc = ::chdir(folder.c_str());
        if (rc == 0 && std::filesystem::current_path(ec) != before) ++state.folder_moves;
    }

    TextFile list(list_path.string());
    const std::string_view first = list.record_or_fail("the source type on line 1");
    state.Srctype = field(first, 1, 5);
    list.skip_or_fail(3, "lines 2 to 4 of the source list");
    int listed_bands = 0;
    list_read_or_fail(list, "the band count", listed_bands);
    if (listed_bands != Nband) {
        throw file_error(list.name(), list.record_number(),
                         "the source list gives " + std::to_string(listed_bands) + " bands where the run has " +
                             std::to_string(Nband) + "; the tables of a run must have the run's bands");
    }
    list_read_or_fail(list, "the condition count", state.Srccount);
    if (state.Srccount < 1 || state.Srccount > kMaxConditions) {
        throw file_error(list.name(), list.record_number(),
                         "the condition count is " + std::to_string(state.Srccount) + "; 1 to 20 conditions are possible");
    }

    for (int k = 1; k <= state.Srccount; ++k) {
        const std::string_view rec = list.record_or_fail("a condition line (table file and condition value)");
        // The name stands in columns 1-12; the condition value in columns 13-20.
        std::string table = field(rec, 1, 12);
        while (!table.empty() && table.back() == ' ') table.pop_back();
        state.Srccond[k - 1] = read_real_columns(list, rec, 13, 20, 0, "the condition value");

        TextFile t(table);
        t.skip_or_fail(2, "the two head lines of a source table");
        for (int a = 0; a <= 36; ++a) {
            const std::string_view line = t.record_or_fail("the levels at " + std::to_string(a * 5) + " degrees");
            for (int b = 1; b <= Nband; ++b) {
                const int c0 = 21 + 5 * (b - 1);
                state.Srcdata[static_cast<std::size_t>((b - 1) + Nband * (a + 37 * (k - 1)))] =
                    read_real_columns(t, line, c0, c0 + 4, 1, "the level of band " + std::to_string(b));
            }
        }
    }
}

void SRCTABLE(const SourceGeometry& geom, const TRAJPOINT& pt, const Name255& Srcfile, int Nband, bool Reload,
              float* Srcspec, float& Rref, float& Rslant, SrcTableState& state) {
    Rref = kTableRref;
    if (Reload) {
        state.Srcdata.clear();
        state.held = false;
        state.Needload = true;
    }
    if (!state.held) {
        state.nband_alloc = Nband;
        state.Srcdata.assign(static_cast<std::size_t>(std::max(Nband, 0)) * 37 * kMaxConditions, 0.0f);
        state.held = true;
    }
    if (state.Needload) {
        load_source_tables(Srcfile, Nband, state);
        state.Needload = false;   // loaded tables are only read from here on
    }

    float polar = 0.0f, azimuth = 0.0f, elevation = 0.0f;
    SRCANGLES(geom.src, geom.rcv, geom.hs, geom.hr, pt.Heading, pt.Climb, pt.Bank, Rslant, polar, azimuth, elevation);

    // Angle position: 180 degrees gives a = 35 with f = 1.0.
    const float D = polar * 57.29578f;
    int a = trunc_int(D / 5.0f);
    if (a > 35) a = 35;
    const float f = D / 5.0f - static_cast<float>(a);
    if (a < 0) a = 0;   // guard: only a polar angle that is not a number gets here

    float Srcsel;
    if (state.Srctype == "Autom") Srcsel = pt.Speed * 2.369f;
    else if (state.Srctype == "Train") Srcsel = elevation * 180.0f / 3.14159f;   // the elevation, in degrees
    else Srcsel = pt.Power;

    const int n = state.Srccount;
    int k;
    float q;
    if (n < 2) {
        k = 1;
        q = state.Srccond[0];   // has no effect beyond rounding: L2 equals L1
    } else {
        int i = 1;
        for (; i <= n - 1; ++i) {
            if (Srcsel < state.Srccond[i]) break;
        }
        k = std::min(i, n - 1);
        q = (Srcsel - state.Srccond[k - 1]) / (state.Srccond[k] - state.Srccond[k - 1]);
    }

    for (int b = 1; b <= Nband; ++b) {
        const float L1 = state.data(b, a, k) * (1.0f - f) + state.data(b, a + 1, k) * f;
        const float L2 = n > 1 ? state.data(b, a, k + 1) * (1.0f - f) + state.data(b, a + 1, k + 1) * f : L1;
        float level = L1 * (1.0f - q) + L2 * q;
        // Limited upward only: a level extrapolated below the first condition stays as computed.
        const float H = std::max(state.data(b, a, n), state.data(b, a + 1, n));
        if (level > H + 5.0f) level = H + 5.0f;
        Srcspec[b - 1] = level;
    }
}

}  // namespace tn
