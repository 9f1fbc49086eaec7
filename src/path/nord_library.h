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

// The entry as the library exports it. Arguments in order: section length; distance along the path,
// terrain height and ground value of each sample; source and receiver (x, y, height above ground);
// band count; band frequencies; wind value; ground temperature (Celsius); Wextra4; gradient value;
// Wextra1; Wextra2; an always-zero parameter; Wextra3; Nordpar2; Nordpar3; Nordpar1; Gterm (out,
// 32-bit floats, in place); a scratch address and the second wind value (both null unless the
// weather holds the direction-dependent term).
using CallnordFn = void (*)(const std::int32_t* n, const double* X, const double* Z, const double* G,
                            const double* src, const double* rcv, const std::int32_t* nband, const double* freq,
                            const double* wind, const double* t0, const double* wextra4, const double* grad,
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
                  const double* t0, const double* wextra4, const double* grad, const double* wextra1,
                  const double* wextra2, const double* zero, const double* wextra3, const double* par2,
                  const double* par3, const double* par1, float* gterm, void* scratch, const double* wind2) const;

    const std::string& path() const { return path_; }

private:
    void* handle_;
    CallnordFn fn_;
    std::string path_;
    mutable std::mutex mutex_;
};

// Finds and loads the library. A library that cannot be found or loaded, or lacks the entry, ends
// the run with a message naming the weather file that selected the model and the places looked at.
std::unique_ptr<NordLibrary> load_nord_library(const std::string& exedir, const std::string& weatherfile);

}  // namespace tn
