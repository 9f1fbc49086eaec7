#include "ground/grndprop.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <string>

#include "ground/imptable.h"
#include "ground/parametric.h"
#include "io/errors.h"

namespace tn {
namespace {

constexpr float kPi = 3.1415927f;

float dist(const PROFPT& p, const PROFPT& q) {
    const float dx = q.d - p.d;
    const float dz = q.v - p.v;
    return std::sqrt(dx * dx + dz * dz);
}

// End zone of the blend at one foot: h the height there, flag that foot's point's flag.
float end_zone(float flag, float h) {
    if (flag == 0.0f) return (h <= 3.0f) ? 10.0f * h : (20.0f * h / 3.0f - 10.0f) * h;
    return 30.0f * h;
}

// Source or receiver and its image in the plane from p to q (direction cosines (1, 0) unless the
// plane runs forward), at height h above the foot `foot`.
void image_pair(const XZPT& p, const XZPT& q, const XZPT& foot, float h, XZPT pt[2]) {
    float c = 1.0f, s = 0.0f;
    const float dx = q.x - p.x;
    if (dx > 0.0f) {
        const float ang = std::atan2(q.z - p.z, dx);
        c = std::cos(ang);
        s = std::sin(ang);
    }
    pt[0] = {foot.x, foot.z + h};
    const float t = h * c;
    pt[1] = {pt[0].x + 2.0f * s * t, pt[0].z - 2.0f * c * t};
}

}  // namespace

void PROFEXT(const PROFPT* Terr, int N, float H1, float H2, float Ext[2], int Idx[2]) {
    if (N < 2) {
        Idx[0] = Idx[1] = 0;
        Ext[0] = -H1;
        Ext[1] = -H2;
        return;
    }
    const float x1 = Terr[0].d, xN = Terr[N - 1].d;
    if (std::abs(xN - x1) < 10.0f) {
        Ext[0] = H1;
        Ext[1] = H2;
        Idx[0] = 0;
        Idx[1] = N - 1;
        return;
    }
    const float z1 = Terr[0].v + H1;
    const float m = ((Terr[N - 1].v + H2) - z1) / (xN - x1);
    const float b = z1 - m * x1;
    float big = -10000.0f, small = 10000.0f;
    Idx[0] = Idx[1] = 0;   // kept only if no deviation beats the starting values
    for (int i = 0; i < N; ++i) {
        const float dev = Terr[i].v - (m * Terr[i].d + b);
        if (dev > big) {
            big = dev;
            Idx[0] = i;
        }
        if (dev < small) {
            small = dev;
            Idx[1] = i;
        }
    }
    Ext[0] = big;
    Ext[1] = small;
}

void KEYPOINTS(const PROFPT* Terr, int NTerr, float Hs, float Hr, GRNDKEYS& k) {
    float ext[2];
    int idx[2];
    PROFEXT(Terr, NTerr, Hs, Hr, ext, idx);
    k.Kc = idx[0];
    PROFEXT(Terr, k.Kc + 1, Hs, 0.0f, ext, idx);
    k.Ka = idx[1];
    PROFEXT(Terr + k.Kc, NTerr - k.Kc, 0.0f, Hr, ext, idx);
    k.Kb = idx[1] + k.Kc;

    const int last = NTerr - 1;
    const int at[5] = {0, k.Ka, k.Kc, k.Kb, last};
    for (int j = 0; j < 5; ++j) k.KeyPt[j] = {Terr[at[j]].d, Terr[at[j]].v};

    k.NKey = 0;
    k.KeyIdx[k.NKey++] = 0;
    for (int K : {k.Ka, k.Kc, k.Kb})
        if (K != k.KeyIdx[k.NKey - 1]) k.KeyIdx[k.NKey++] = K;
    if (k.KeyIdx[k.NKey - 1] < last) k.KeyIdx[k.NKey++] = last;

    // A crest at an end never leaves a ground plane of zero length behind.
    if (k.Ka == k.Kc) k.KeyPt[1] = k.KeyPt[0];
    if (k.Kb == k.Kc) k.KeyPt[3] = k.KeyPt[4];
    if (k.KeyPt[0].x == k.KeyPt[1].x) {
        k.KeyPt[1] = {k.KeyPt[0].x + 0.1f * (k.KeyPt[2].x - k.KeyPt[0].x),
                      k.KeyPt[0].z + 0.1f * (k.KeyPt[2].z - k.KeyPt[0].z)};
    }
    if (k.KeyPt[3].x == k.KeyPt[4].x) {
        k.KeyPt[3] = {k.KeyPt[2].x + 0.1f * (k.KeyPt[4].x - k.KeyPt[2].x),
                      k.KeyPt[2].z + 0.1f * (k.KeyPt[4].z - k.KeyPt[2].z)};
    }

    k.PathClass = 0;
    if (k.NKey < 3) {
        k.PathClass = 1;
    } else if (k.NKey > 3) {
        k.PathClass = 2;
    } else {
        const PROFPT& V1 = Terr[k.KeyIdx[0]];
        const PROFPT& V2 = Terr[k.KeyIdx[1]];
        const PROFPT& V3 = Terr[k.KeyIdx[2]];
        const float chord = V1.v + (V3.v - V1.v) * (V2.d - V1.d) / (V3.d - V1.d);
        if (chord <= V2.v) {
            k.PathClass = 2;   // on the chord counts as a hill
        } else if (chord > V2.v) {
            k.PathClass = 3;
        }
    }
}

void MIXPREP(const float* GndX, const float* HardFlag, int N, float Hs, float Hr, MIXWT& m) {
    m.N = 0;
    m.den = 0.0f;
    m.anyHard = false;
    if (N < 1) return;   // no point: the blend is 0/0
    if (N > kProfileSamples) {
        throw RunError("MIXGND: " + std::to_string(N) + " ground points, expected at most " +
                       std::to_string(kProfileSamples));
    }
    const float xN = GndX[N - 1];
    const float xs = Hs * xN / (Hs + Hr);   // specular point
    float a = end_zone(HardFlag[0], Hs);
    float b = end_zone(HardFlag[N - 1], Hr);
    a = std::min(a, 0.7f * xs);
    b = std::min(b, 0.7f * (xN - xs));

    for (int i = 0; i < N; ++i) {
        const float x = GndX[i];
        if (x < a) continue;
        if (x > xN - b) break;
        const float dw = (x >= xs) ? Hs : Hr;   // the far end's height, as the blend has it
        // Integer word of a float flag against 1: never true for 1.0f or 0.0f. Deliberate.
        const bool hard = std::bit_cast<std::int32_t>(HardFlag[i]) == 1;
        const float w = hard ? 0.5f : 1.0f;
        m.wt[m.N] = dw * w;
        m.hard[m.N] = hard;
        m.anyHard = m.anyHard || hard;
        m.den = m.den + m.wt[m.N];
        ++m.N;
    }
}

void MIXAPPLY(const MIXWT& m, float ASoft, float AHard, float& AMix) {
    float num = 0.0f;
    for (int i = 0; i < m.N; ++i) num = num + m.wt[i] * (m.hard[i] ? AHard : ASoft);
    AMix = num / m.den;
}

void MIXAPPLYN(const MIXWT& m, const float* ASoft, const float* AHard, int n, float* AMix) {
    for (int j = 0; j < n; ++j) AMix[j] = 0.0f;   // the sums
    for (int i = 0; i < m.N; ++i) {
        const float w = m.wt[i];
        const float* A = m.hard[i] ? AHard : ASoft;
        for (int j = 0; j < n; ++j) AMix[j] = AMix[j] + w * A[j];
    }
    for (int j = 0; j < n; ++j) AMix[j] = AMix[j] / m.den;
}

void MIXGND(const float* GndX, const float* HardFlag, int N, float Hs, float Hr, float ASoft, float AHard,
            float& AMix) {
    MIXWT m;
    MIXPREP(GndX, HardFlag, N, Hs, Hr, m);
    MIXAPPLY(m, ASoft, AHard, AMix);
}

void GRNDPROP(const GroundSection& path, char Mode, int Nband, const float* Freq, GroundLevels& out,
              GrndWork& work) {
    const float* Src = path.Src;
    const float* Rcv = path.Rcv;
    const PROFPT* Terr = path.Terr;
    const int NTerr = path.NTerr;
    const PROFPT* Gsec = path.Gsec;
    const int NGsec = path.NGsec;
    const float Hs = path.Hs;
    const float Hr = path.Hr;
    float& Single = out.Single;
    float* Gterm = out.Gterm;
    int& PathClass = out.PathClass;
    int& NHard = out.NHard;
    PathClass = 0;
    NHard = 0;
    if (NTerr < 1 || NTerr > kProfileSamples) {
        throw RunError("GRNDPROP: terrain section of " + std::to_string(NTerr) + " points, expected 1 to " +
                       std::to_string(kProfileSamples));
    }
    if (NGsec > kProfileSamples) {
        throw RunError("GRNDPROP: ground section of " + std::to_string(NGsec) + " points, expected at most " +
                       std::to_string(kProfileSamples));
    }

    // Ground statistics.
    int nsoft = 0;
    float sumSoft = 0.0f, sumHard = 0.0f;
    for (int i = 0; i < NGsec; ++i) {
        const float sigma = Gsec[i].v;
        work.GndX[i] = Gsec[i].d;
        if (sigma <= 1000.0f) {
            work.HardFlag[i] = 0.0f;
            ++nsoft;
            sumSoft += sigma;
        } else {
            work.HardFlag[i] = 1.0f;
            ++NHard;
            sumHard += sigma;
        }
    }
    float SigmaSoft = sumSoft / float(std::max(1, nsoft));
    float SigmaHard = sumHard / float(std::max(1, NHard));
    if (SigmaSoft == 0.0f) SigmaSoft = 200.0f;
    if (SigmaHard == 0.0f) SigmaHard = 1.0e6f;

    // Key points and class.
    GRNDKEYS& keys = work.keys;
    KEYPOINTS(Terr, NTerr, Hs, Hr, keys);
    PathClass = keys.PathClass;

    if (NGsec <= 0) return;   // no ground: nothing runs, Single and Gterm stay as given
    const bool mixed = NHard > 0 && nsoft > 0;
    if (mixed) MIXPREP(work.GndX, work.HardFlag, NGsec, Hs, Hr, work.mix);

    const float dx = Rcv[0] - Src[0];
    const float dy = Rcv[1] - Src[1];
    const float d = std::sqrt(dx * dx + dy * dy);   // horizontal distance of a flat path
    const XZPT* K = keys.KeyPt;
    const PROFPT& V1 = Terr[keys.KeyIdx[0]];
    const PROFPT& V2 = Terr[keys.KeyIdx[std::min(1, keys.NKey - 1)]];
    const PROFPT& V3 = Terr[keys.KeyIdx[std::min(2, keys.NKey - 1)]];

    if (Mode == 'P') {
        // Closed-form fits: no band loop, ground type 1 for the hard pass and 0 for the soft pass.
        auto fit = [&](int Gndtyp, float& A) {
            switch (PathClass) {
            case 1:
                LEVEL(Hs, Hr, d, Gndtyp, A);
                break;
            case 2:
                HILLPAR(K, Hs, Hr, Gndtyp, A);
                break;
            case 3: {
                const float A1 = std::atan2(V2.v - V1.v, V2.d - V1.d);
                const float A2 = std::atan2(V3.v - V2.v, V3.d - V2.d);
                UPVAL(Hs, Hr, V3.d - V1.d, V2.d - V1.d, A2 - A1, Gndtyp, A);
                break;
            }
            default:
                A = std::numeric_limits<float>::quiet_NaN();
            }
        };
        float AHard = 0.0f, ASoft = 0.0f;
        if (NHard > 0) {
            fit(1, AHard);
            Single = AHard;
        }
        if (nsoft > 0) {
            fit(0, ASoft);
            Single = ASoft;
        }
        if (mixed) MIXAPPLY(work.mix, ASoft, AHard, Single);
        return;
    }

    // Rigorous sub-models: the geometry once, then band by band.
    switch (PathClass) {
    case 1:
        FLATPREP(d / 2.0f, d / 2.0f, Hs, Hr, work.flat);
        break;
    case 2:
        image_pair(K[0], K[1], K[0], Hs, work.SrcPt);
        image_pair(K[3], K[4], K[4], Hr, work.RcvPt);
        HILLPREP(K, work.SrcPt, work.RcvPt, work.hill);
        break;
    case 3: {
        const float A1 = std::atan2(V2.v - V1.v, V2.d - V1.d);
        const float A2 = std::atan2(V3.v - V2.v, V3.d - V2.d);
        VALLPREP(dist(V1, V2), dist(V2, V3), Hs, Hr, (A2 - A1) + kPi, work.valley);
        break;
    }
    default:
        break;
    }

    // One sub-model run in band j (of the table's slice) with the impedances of one mean resistivity.
    auto run = [&](float f, int j, const SPHZ* z, const SPHZD* zd) -> float {
        float A;
        switch (PathClass) {
        case 1:
            FLATBAND(work.flat, zd[j], f, A);
            return A;
        case 2:
            HILLBAND(work.hill, z[j], z[j], z[j], f, A);
            return A;
        case 3:
            VALLBAND(work.valley, z[j], z[j], f, A);
            return A;
        default:
            return std::numeric_limits<float>::quiet_NaN();
        }
    };
    // The impedances of a mean resistivity at the bands of the slice, in the family of the class.
    IMPTAB& tab = work.imp;
    auto impedances = [&](float sigma, const SPHZ*& z, const SPHZD*& zd) {
        z = nullptr;
        zd = nullptr;
        if (PathClass == 1) zd = IMPTABDOUBLE(tab, sigma);
        else if (PathClass == 2 || PathClass == 3) z = IMPTABSINGLE(tab, sigma);
    };

    // On mixed ground the hard level reaches the result only through points the blend marks hard.
    const bool hardPass = NHard > 0 && (!mixed || work.mix.anyHard);
    for (int j0 = 0; j0 < Nband; j0 += IMPTAB::kMaxBands) {
        const int nb = std::min(Nband - j0, IMPTAB::kMaxBands);
        IMPTABBANDS(tab, nb, Freq + j0);
        const SPHZ *zHard = nullptr, *zSoft = nullptr;
        const SPHZD *zdHard = nullptr, *zdSoft = nullptr;
        if (hardPass) impedances(SigmaHard, zHard, zdHard);
        if (nsoft > 0) impedances(SigmaSoft, zSoft, zdSoft);
        // The levels of every band first, then the blend of all bands at once.
        float AHard[IMPTAB::kMaxBands] = {}, ASoft[IMPTAB::kMaxBands] = {}, AMix[IMPTAB::kMaxBands];
        for (int j = 0; j < nb; ++j) {
            const float f = Freq[j0 + j];
            if (hardPass) AHard[j] = run(f, j, zHard, zdHard);
            if (nsoft > 0) ASoft[j] = run(f, j, zSoft, zdSoft);
        }
        if (mixed) MIXAPPLYN(work.mix, ASoft, AHard, nb, AMix);
        for (int j = 0; j < nb; ++j) {
            if (hardPass) Single = AHard[j];
            if (nsoft > 0) Single = ASoft[j];
            if (mixed) Single = AMix[j];
            Gterm[j0 + j] = Single;
        }
    }
}

}  // namespace tn
