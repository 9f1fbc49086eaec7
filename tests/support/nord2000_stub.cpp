// A stand-in for the Nord2000 library, for the tests: it exports CALLNORD with the library's 22
// arguments, records what it was given in a file named by TN_NORD_STUB_LOG (when set), and writes
// a known pattern into Gterm: band b gets -0.5 * b dB.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" void CALLNORD(const std::int32_t* n, const double* X, const double* Z, const double* G, const double* src,
                         const double* rcv, const std::int32_t* nband, const double* freq, const double* wind,
                         const double* t0, const double* wextra4, const double* grad, const double* wextra1,
                         const double* wextra2, const double* zero, const double* wextra3, const double* par2,
                         const double* par3, const double* par1, float* gterm, void* scratch, const double* wind2) {
    if (const char* log = std::getenv("TN_NORD_STUB_LOG")) {
        if (std::FILE* f = std::fopen(log, "a")) {
            std::fprintf(f, "n %d nband %d\n", *n, *nband);
            std::fprintf(f, "X0 %.9g Xn %.9g Z0 %.9g Zn %.9g G0 %.9g Gn %.9g\n", X[0], X[*n - 1], Z[0], Z[*n - 1], G[0],
                         G[*n - 1]);
            std::fprintf(f, "src %.9g %.9g %.9g rcv %.9g %.9g %.9g\n", src[0], src[1], src[2], rcv[0], rcv[1], rcv[2]);
            std::fprintf(f, "f0 %.9g wind %.9g t0 %.9g wextra4 %.9g grad %.9g wextra1 %.9g wextra2 %.9g zero %.9g\n",
                         freq[0], *wind, *t0, *wextra4, *grad, *wextra1, *wextra2, *zero);
            std::fprintf(f, "wextra3 %.9g par2 %.9g par3 %.9g par1 %.9g scratch %s wind2 %s%.9g\n", *wextra3, *par2,
                         *par3, *par1, scratch ? "set" : "null", wind2 ? "" : "null ", wind2 ? *wind2 : 0.0);
            std::fclose(f);
        }
    }
    for (int b = 0; b < *nband; ++b) gterm[b] = -0.5f * static_cast<float>(b + 1);
}
