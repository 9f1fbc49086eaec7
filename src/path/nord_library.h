// The closed Nord2000 library, loaded at run time.
//
// The library is a shared object with a C entry CALLNORD taking 22 arguments by address. It is found
// at the path in the environment variable TRACKNOISE_NORD2000, or else as libnord2000.so in the
// program's folder. Calls are serialised: the entry is not assumed to be re-entrant.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace tn {

// The entry as the library exports it: 22 arguments, all by address, all inputs but Gterm.
//   1 section length n (100)          12 gradient value
//   2 X[n], distance from the source  13 Wextra1
//   3 Z[n], absolute terrain height   14 Wextra2
//   4 G[n], ground value              15 a parameter no weather file sets: always 0.0
//   5 source x, y, z above ground   16 Wextra3
//   6 receiver x, y, z above ground 17 Nordpar2
//   7 Nband                           18 Nordpar3
//   8 band frequencies [Nband], Hz    19 Nordpar1
//   9 wind value                      20 Gterm[Nband], out: dB re free field, 32-bit floats, in place
//  10 ground temperature, Celsius     21 scratch address, or null
//  11 Wextra4                         22 second wind value, or null
// 21 and 22 are null unless the weather holds the direction-dependent term ("A_Param"). The entry
// has no result and no status.
using CallnordFn = void (*)(const std::int32_t* n, const double* X, const double* Z, const double* G,
                            const double* src, const double* rcv, const std::int32_t* nband, const double* freq,
                            const double* wind, const double* tground, const double* wextra4, const double* grad,
                            const double* wextra1, const double* wextra2, const double* zero,
                            const double* wextra3, const double* par2, const double* par3, const double* par1,
                            float* gterm, void* scratch, const double* wind2);

class NordLibrary {
public:
    NordLibrary(void* handle, CallnordFn fn, std::string path) : handle_(handle), fn_(fn), path_(std::move(path)) {}
    ~NordLibrary();
    NordLibrary(const NordLibrary&) = delete;
    NordLibrary& operator=(const NordLibrary&) = delete;

    // CALLNORD, one call at a time.
    void CALLNORD(const std::int32_t* n, const double* X, const double* Z, const double* G, const double* src,
                  const double* rcv, const std::int32_t* nband, const double* freq, const double* wind,
                  const double* tground, const double* wextra4, const double* grad, const double* wextra1,
                  const double* wextra2, const double* zero, const double* wextra3, const double* par2,
                  const double* par3, const double* par1, float* gterm, void* scratch, const double* wind2) const;

    const std::string& path() const { return path_; }

private:
    void* handle_;
    CallnordFn fn_;
    std::string path_;
    mutable std::mutex mutex_;
};

// Finds and loads the library: the file named by TRACKNOISE_NORD2000 when that is set and not
// empty (no other place is tried then), else libnord2000.so in exedir, the program's folder. A
// library that is not there, cannot be loaded or lacks the entry CALLNORD ends the run with a
// RunError naming the weather file that selected the model and the place looked at.
std::unique_ptr<NordLibrary> load_nord_library(const std::string& exedir, const std::string& weatherfile);

}  // namespace tn
