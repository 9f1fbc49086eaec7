// Source tables: a list file names one table per operating condition; each table gives band levels
// at 1000 feet by the angle from the direction of travel, 0 to 180 degrees in steps of 5.
//
// List file, as the table loader reads it: line 1 the source type in columns 1-5 ("Autom", "Train"
// or any other word, case-sensitive); lines 2-4 passed over; line 5 the band count; line 6 the
// condition count; then one condition per line, the table's file name in columns 1-12 and the
// condition value in columns 13-20. The set-up reads the same file with other eyes: the name on
// line 2, two numbers on lines 3 and 4 (columns 7-10, one decimal implied), the band count, the
// condition count and its lines, the band frequencies one per line, and optionally the lowest
// source height above ground in feet.
//
// Table file: lines 1 and 2 passed over, then 37 lines for 0, 5, ..., 180 degrees: 20 columns of
// any text and the band levels in fields of 5 columns with one decimal.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "io/fixed_text.h"
#include "source/trajectory.h"

namespace tn {

// Reference distance of the tables: a thousand feet at 3.2808 feet per metre.
inline constexpr float kTableRref = 304.8037f;
// Room for conditions in a list.
inline constexpr int kMaxConditions = 20;

// Loaded tables, kept from call to call for the whole process.
struct SrcTableState {
    bool Needload = true;          // the first call loads even when Reload is false
    bool held = false;             // Srcdata is allocated
    int nband_alloc = 0;           // the band count Srcdata was allocated for
    std::vector<float> Srcdata;    // band fastest, then angle 0..36, then condition 1..20
    float Srccond[kMaxConditions] = {};
    int Srccount = 0;
    FixedText<5> Srctype;
    // Times a load has moved the working folder (relative names opened later may name other files).
    int folder_moves = 0;
    // Each list name as the folder before the change saw it at its first load.
    std::map<std::string, std::filesystem::path> list_paths;

    float data(int b, int a, int k) const {
        return Srcdata[static_cast<std::size_t>((b - 1) + nband_alloc * (a + 37 * (k - 1)))];
    }
};

// What the set-up takes from the head of the list.
struct SourceListHead {
    int Nband = 0;
    std::vector<float> Freq;
    float Minagl_feet = 10.0f;   // when the list gives none
};

// The set-up's reading of a source list (the list is opened as named, from the current folder).
// Ends the run with a clear message when the list cannot be read, or gives a band count outside
// 0..32 (no run has room for more bands).
SourceListHead read_source_list_head(const Name255& Srcfile);

// Where source and receiver stand for the emission geometry: the working points (x, y, height above
// ground, metres) and the ground heights under them.
struct SourceGeometry {
    const float* src = nullptr;
    const float* rcv = nullptr;
    float hs = 0.0f;
    float hr = 0.0f;
};

// Spectrum of a table source for one trajectory point (its Heading, Bank, Speed, Climb and Power)
// and receiver.
// Loads the tables when Reload is true or on the first call: changes the working folder to the
// list's folder for the rest of the process (later relative names resolve from there), opening the
// list itself by its name resolved against the folder that was current before the first load of
// that name (later runs reload the same file). Condition values
// are expected in rising order; a Srcsel outside them extrapolates along the nearest pair, limited
// upward only (H + 5 dB of the last condition). Results: Srcspec (Nband dB at Rref), Rref, Rslant.
void SRCTABLE(const SourceGeometry& geom, const TRAJPOINT& pt, const Name255& Srcfile, int Nband, bool Reload,
              float* Srcspec, float& Rref, float& Rslant, SrcTableState& state);

// The load alone (the first step of SRCTABLE when it must load).
void load_source_tables(const Name255& Srcfile, int Nband, SrcTableState& state);

}  // namespace tn
