// Noise hemispheres: a band spectrum for any direction of emission, at a reference distance.
//
// A hemisphere file is a netCDF file (format in docs/hemisphere_format.md): band frequencies, an
// azimuth axis and a polar axis in degrees, the levels on that grid per band, and the reference
// distance. LOADONEHEMI reads one into a HEMIREC (hemisphere_file.cpp); INTERPONEHEMI evaluates it.
//
// Angles, seen from the source: the polar angle is 0 straight ahead along the direction of travel and
// 180 straight behind; the azimuth turns about the travel axis, 0 below the path, +90 to the right,
// -90 to the left, +-180 above. The caller's azimuth may carry the source's bank and stand anywhere.
//
// Interpolation (INTERPONEHEMI), per band, in single precision, linear in dB:
//   - polar angle: linear between the two neighbouring grid rows; held at the first or last row
//     outside the grid's range;
//   - azimuth: taken modulo 360 onto [first, first + 360) of the grid, then linear between the two
//     neighbouring columns. When the grid covers a whole turn (see HEMIREC::Wraps) an azimuth
//     between the last column and the first column plus 360 is interpolated between those two
//     columns; otherwise it is held at whichever of the two is nearer around the circle, the last
//     column at the exact middle of the gap;
//   - the two polar interpolations (lower and upper azimuth column) are made first, then the one
//     in azimuth; at a grid node the result is the node's level exactly.
// A NaN azimuth or polar angle, or an infinite azimuth (which has no direction modulo 360), gives
// NaN in every band that the file has: broken geometry passes on as not-a-number, as elsewhere in
// the run. An infinite polar angle is held at the edge like any polar angle beyond the grid.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "io/fixed_text.h"

namespace tn {

// Level given to a band that the run asks for and the loaded file does not have (Nband greater
// than Nfreq: a source named per point whose file has fewer bands than the one set up for the run).
// The run's mark for a missing real level; it adds practically nothing to the band sums.
inline constexpr float HEMI_NO_BAND = -99.9f;

// One loaded hemisphere. The run reads Nfreq, Hfreq and Hrefdist; the rest is the interpolation's.
// A default-constructed record is empty (Nfreq 0, no frequencies) and gives HEMI_NO_BAND in every
// band. After a load the record is never modified, so it may be read from several threads at once.
struct HEMIREC {
    int Nfreq = 0;               // number of bands
    std::vector<float> Hfreq;    // Nfreq band frequencies, Hz, strictly ascending
    bool Hfreq_held = false;     // Hfreq holds the file's frequencies (true after every load)
    float Hrefdist = 0.0f;       // reference distance of the levels, metres

    std::vector<float> Azimuth;  // degrees, strictly ascending, last - first <= 360
    std::vector<float> Polar;    // degrees, strictly ascending, within 0 .. 180
    std::vector<float> Level;    // dB at Hrefdist, [azimuth][polar][band], band running fastest
    // The azimuth grid covers a whole turn: the gap it leaves between its last column and its first
    // column plus 360 is no wider than its widest spacing (plus 0.001 degree for rounded values).
    // So 0 .. 330 by 30 wraps (gap 30), as do -180 .. 150 by 30 and 0 .. 360 by 30 with the seam
    // column repeated (gap 0); 0 .. 300 by 30 (gap 60) and 0 .. 180 by 30 are held at their edges.
    // A single column never wraps; it is the same in every direction anyway.
    bool Wraps = false;

    float level(std::size_t azimuth, std::size_t polar, std::size_t band) const {
        return Level[(azimuth * Polar.size() + polar) * static_cast<std::size_t>(Nfreq) + band];
    }
};

// Whether a source name names a hemisphere: ".nc" or ".NC" anywhere in it.
inline bool is_hemisphere_name(const Name255& name) { return name.contains(".nc") || name.contains(".NC"); }

// Loads the hemisphere file named by the first namelen characters of `file` (trailing blanks do not
// count) into rec. A file that is missing, is not netCDF, lacks a dimension, variable or attribute
// of the format, has an axis that is not strictly ascending or out of range, a level variable of the
// wrong shape, or a missing or non-finite value, ends the run with a RunError naming the file and
// what is wrong; rec is then left as it was.
void LOADONEHEMI(const Name255& file, HEMIREC& rec, int namelen = 255);

// spectrum[0 .. Nband-1] := the levels in dB at rec.Hrefdist in the direction (azimuth, polar),
// degrees, interpolated as described above. Bands beyond rec.Nfreq get HEMI_NO_BAND; nothing past
// spectrum[Nband-1] is written, and Nband of zero or less writes nothing. Any azimuth and any polar
// angle are taken, however large.
void INTERPONEHEMI(float azimuth, float polar, float* spectrum, int Nband, const HEMIREC& rec);

// Loaded hemispheres by file name, for a source named at every trajectory point: the first load of
// a name reads the file, later ones return the same record. A relative name is read again after the
// working folder has moved (folder_moves counts the moves, see SrcTableState), since it may then
// name another file; a file rewritten during the run is not read again.
//
// One cache may serve several threads: a mutex guards the table and is held during a load, so a
// name is read once even when two threads ask for it together. The returned record is never changed
// or freed while the cache lives and may be read from any thread without a lock. A load that fails
// throws and caches nothing.
class HemisphereCache {
public:
    const HEMIREC& load(const Name255& name, int folder_moves = 0);
    std::size_t size() const;

private:
    mutable std::mutex mutex_;
    // By the count of folder moves at the load (-1 for absolute names), then by name.
    std::map<int, std::map<std::string, std::unique_ptr<const HEMIREC>, std::less<>>> records_;
};

}  // namespace tn
