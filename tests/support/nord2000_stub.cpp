// A stand-in for the Nord2000 library, for the tests. It exports CALLNORD with the library's 22
// arguments, writes a known pattern into Gterm (band b, counted from 1, gets -0.5 * b dB) and, when
// the environment variable TN_NORD_STUB_LOG names a file, appends every argument it was given to
// that file, one call per block (read back by nord_stub_log.h):
//
//   call
//   a1 <n>
//   a2 <X[0]> ... <X[n-1]>            (a3, a4 likewise; a5, a6 three values; a8 Nband values)
//   a7 <Nband>
//   a9 <value>                        (a10 .. a19 likewise)
//   a20 <Gterm[0]> ... <Gterm[Nband-1]>   as the caller handed it in, before the stub writes it
//   a21 null | set
//   a22 null | <value>
//   end
//
// Doubles are written with 17 significant digits and floats with 9, so that they read back exactly.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void values(std::FILE* f, const char* key, const double* v, int count) {
    std::fprintf(f, "%s", key);
    for (int k = 0; k < count; ++k) std::fprintf(f, " %.17g", v[k]);
    std::fprintf(f, "\n");
}

}  // namespace

extern "C" void CALLNORD(const std::int32_t* n, const double* X, const double* Z, const double* G, const double* src,
                         const double* rcv, const std::int32_t* nband, const double* freq, const double* wind,
                         const double* tground, const double* wextra4, const double* grad, const double* wextra1,
                         const double* wextra2, const double* zero, const double* wextra3, const double* par2,
                         const double* par3, const double* par1, float* gterm, void* scratch, const double* wind2) {
    if (const char* log = std::getenv("TN_NORD_STUB_LOG")) {
        if (std::FILE* f = std::fopen(log, "a")) {
            std::fprintf(f, "call\na1 %d\n", static_cast<int>(*n));
            values(f, "a2", X, *n);
            values(f, "a3", Z, *n);
            values(f, "a4", G, *n);
            values(f, "a5", src, 3);
            values(f, "a6", rcv, 3);
            std::fprintf(f, "a7 %d\n", static_cast<int>(*nband));
            values(f, "a8", freq, *nband);
            const double* scalars[11] = {wind, tground, wextra4, grad, wextra1, wextra2, zero, wextra3, par2, par3, par1};
            for (int k = 0; k < 11; ++k) std::fprintf(f, "a%d %.17g\n", 9 + k, *scalars[k]);
            std::fprintf(f, "a20");
            for (int b = 0; b < *nband; ++b) std::fprintf(f, " %.9g", static_cast<double>(gterm[b]));
            std::fprintf(f, "\na21 %s\n", scratch ? "set" : "null");
            if (wind2) std::fprintf(f, "a22 %.17g\n", *wind2);
            else std::fprintf(f, "a22 null\n");
            std::fprintf(f, "end\n");
            std::fclose(f);
        }
    }
    for (int b = 0; b < *nband; ++b) gterm[b] = -0.5f * static_cast<float>(b + 1);
}
