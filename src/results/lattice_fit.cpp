#include "results/lattice_fit.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <tuple>

namespace tn {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

std::string metres(double v) {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%.2f", v);
    return buf;
}

// Least-squares line v = a + b (k - first) through the positions present; returns the count of
// positions and the largest distance of one of them from the line.
int line_fit(const std::vector<double>& v, double& a, double& b, double& worst) {
    double n = 0.0, mk = 0.0, mv = 0.0;
    for (std::size_t k = 0; k < v.size(); ++k) {
        if (std::isnan(v[k])) continue;
        n += 1.0;   // running means, then the sums of products about them
        mk += (static_cast<double>(k) - mk) / n;
        mv += (v[k] - mv) / n;
    }
    double skk = 0.0, skv = 0.0;
    for (std::size_t k = 0; k < v.size(); ++k) {
        if (std::isnan(v[k])) continue;
        skk += (static_cast<double>(k) - mk) * (static_cast<double>(k) - mk);
        skv += (static_cast<double>(k) - mk) * (v[k] - mv);
    }
    b = skk > 0.0 ? skv / skk : 0.0;
    a = mv - b * mk;
    worst = 0.0;
    for (std::size_t k = 0; k < v.size(); ++k) {
        if (!std::isnan(v[k])) worst = std::fmax(worst, std::fabs(v[k] - (a + b * static_cast<double>(k))));
    }
    return static_cast<int>(n);
}

}  // namespace

void LatticeFit::start(const GridBlock& block) {
    block_ = block;
    colx_.assign(static_cast<std::size_t>(std::max(0, block.Iilast - block.Iifirst + 1)), kNone);
    rowy_.assign(static_cast<std::size_t>(std::max(0, block.Jjlast - block.Jjfirst + 1)), kNone);
    firsti_ = firstj_ = 0;
    xdir_ = ydir_ = 0;
}

std::string LatticeFit::add(int i, int j, double x, double y) {
    double& cx = colx_[static_cast<std::size_t>(i - block_.Iifirst)];
    double& ry = rowy_[static_cast<std::size_t>(j - block_.Jjfirst)];
    if (!std::isfinite(x) || !std::isfinite(y)) return "the receiver's position is not a number";
    if (!std::isnan(cx) && std::fabs(x - cx) > kTolerance) {
        return "the receiver stands at x = " + metres(x) + " m, other receivers of column " + std::to_string(i) +
               " at x = " + metres(cx) + " m: the receivers do not stand on a lattice";
    }
    if (!std::isnan(ry) && std::fabs(y - ry) > kTolerance) {
        return "the receiver stands at y = " + metres(y) + " m, other receivers of row " + std::to_string(j) +
               " at y = " + metres(ry) + " m: the receivers do not stand on a lattice";
    }
    if (std::isnan(cx)) {
        cx = x;
        if (firsti_ == 0) firsti_ = i;
        else if (xdir_ == 0) xdir_ = ((x > colx_[static_cast<std::size_t>(firsti_ - block_.Iifirst)]) == (i > firsti_)) ? 1 : -1;
    }
    if (std::isnan(ry)) {
        ry = y;
        if (firstj_ == 0) firstj_ = j;
        else if (ydir_ == 0) ydir_ = ((y > rowy_[static_cast<std::size_t>(firstj_ - block_.Jjfirst)]) == (j > firstj_)) ? 1 : -1;
    }
    return {};
}

std::string LatticeFit::place(LatticePlacement& p) const {
    double ax = 0.0, bx = 0.0, wx = 0.0, ay = 0.0, by = 0.0, wy = 0.0;
    const int nx = line_fit(colx_, ax, bx, wx);
    const int ny = line_fit(rowy_, ay, by, wy);
    if (nx == 0) return "the file holds no receiver: there is no lattice to place";
    if (nx == 1 && ny == 1) return "the file holds receivers of one lattice position only: the lattice's spacing cannot be told";
    for (const auto& [n, b, w, axis] : {std::tuple{nx, bx, wx, "columns"}, std::tuple{ny, by, wy, "rows"}}) {
        if (n < 2) continue;
        if (std::fabs(b) < 1e-3) return std::string("the lattice's ") + axis + " all stand at one position: the lattice has no extent";
        if (w > kTolerance + 1e-6 * std::fabs(b)) {
            return std::string("the lattice's ") + axis + " are not evenly spaced (one stands " + metres(w) +
                   " m from the line through them): the receivers do not form the lattice of a grid run";
        }
    }
    // A single column (row): the other axis's spacing, from that column's (row's) position.
    const auto single = [](const std::vector<double>& v, double b, double& a) {
        for (std::size_t k = 0; k < v.size(); ++k) {
            if (!std::isnan(v[k])) a = v[k] - b * static_cast<double>(k);
        }
    };
    if (nx < 2) {
        bx = std::fabs(by);
        single(colx_, bx, ax);
    }
    if (ny < 2) {
        by = std::fabs(bx);
        single(rowy_, by, ay);
    }
    p.dx = bx;
    p.dy = by;
    p.x_first = ax;
    p.y_first = ay;
    return {};
}

}  // namespace tn
