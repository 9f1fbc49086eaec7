#include "source/hemisphere.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "source/hemisphere_file.h"

namespace tn {

namespace {

// Two neighbouring nodes of an axis and the weight of the upper one: value = (1 - w) lo + w hi.
struct Bracket {
    std::size_t lo = 0;
    std::size_t hi = 0;
    float w = 0.0f;
};

// x within axis.front() .. axis.back() of an axis of two nodes or more.
Bracket inside(const std::vector<float>& axis, double x) {
    const auto above = std::upper_bound(axis.begin(), axis.end(), x, [](double v, float node) { return v < node; });
    const std::size_t lo = std::min(static_cast<std::size_t>(above - axis.begin()), axis.size() - 1) - 1;
    return {lo, lo + 1, static_cast<float>((x - axis[lo]) / (static_cast<double>(axis[lo + 1]) - axis[lo]))};
}

// Polar angle held within the grid's range. Not NaN.
Bracket polar_bracket(const std::vector<float>& polar, float angle) {
    if (polar.size() == 1 || angle <= polar.front()) return {0, 0, 0.0f};
    if (angle >= polar.back()) return {polar.size() - 1, polar.size() - 1, 0.0f};
    return inside(polar, angle);
}

// Azimuth modulo 360 onto [first, first + 360). Finite.
Bracket azimuth_bracket(const std::vector<float>& azimuth, bool wraps, float angle) {
    const std::size_t n = azimuth.size();
    if (n == 1) return {0, 0, 0.0f};
    const double first = azimuth.front();
    const double last = azimuth.back();
    double turn = std::fmod(static_cast<double>(angle) - first, 360.0);   // exact for any float
    if (turn < 0.0) turn += 360.0;
    if (turn >= 360.0) turn = 0.0;   // a tiny negative remainder plus 360 rounds up to 360
    const double x = first + turn;
    if (x <= last) return inside(azimuth, x);

    // In the gap between the last column and the first one a turn later.
    const double gap = first + 360.0 - last;
    if (wraps) return {n - 1, 0, static_cast<float>((x - last) / gap)};
    if (x - last <= gap * 0.5) return {n - 1, n - 1, 0.0f};
    return {0, 0, 0.0f};
}

}  // namespace

void LOADONEHEMI(const Name255& file, HEMIREC& rec, int namelen) {
    const std::size_t len = static_cast<std::size_t>(std::clamp(namelen, 0, static_cast<int>(Name255::size)));
    std::string_view name = file.padded().substr(0, len);
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    READHEMI(std::string(name), rec);
}

void INTERPONEHEMI(float azimuth, float polar, float* spectrum, int Nband, const HEMIREC& rec) {
    if (Nband <= 0) return;
    const bool gridded = !rec.Azimuth.empty() && !rec.Polar.empty();
    const int nfile = gridded ? std::min(Nband, rec.Nfreq) : 0;
    std::fill(spectrum + std::max(nfile, 0), spectrum + Nband, HEMI_NO_BAND);
    if (nfile <= 0) return;

    if (!std::isfinite(azimuth) || std::isnan(polar)) {
        std::fill(spectrum, spectrum + nfile, std::numeric_limits<float>::quiet_NaN());
        return;
    }
    const Bracket a = azimuth_bracket(rec.Azimuth, rec.Wraps, azimuth);
    const Bracket p = polar_bracket(rec.Polar, polar);
    for (int k = 0; k < nfile; ++k) {
        const auto band = static_cast<std::size_t>(k);
        const float lower = (1.0f - p.w) * rec.level(a.lo, p.lo, band) + p.w * rec.level(a.lo, p.hi, band);
        const float upper = (1.0f - p.w) * rec.level(a.hi, p.lo, band) + p.w * rec.level(a.hi, p.hi, band);
        spectrum[k] = (1.0f - a.w) * lower + a.w * upper;
    }
}

const HEMIREC& HemisphereCache::load(const Name255& name, int folder_moves) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::string_view key = name.trimmed();
    // An absolute name stands for the same file wherever the working folder is.
    const int folder = !key.empty() && key.front() == '/' ? -1 : folder_moves;
    auto& records = records_[folder];
    const auto found = records.find(key);
    if (found != records.end()) return *found->second;
    auto rec = std::make_unique<HEMIREC>();
    LOADONEHEMI(name, *rec);
    return *records.emplace(std::string(key), std::move(rec)).first->second;
}

std::size_t HemisphereCache::size() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::size_t n = 0;
    for (const auto& [folder, records] : records_) n += records.size();
    return n;
}

}  // namespace tn
