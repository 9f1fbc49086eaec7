#include "path/nord_library.h"

#include <cstdlib>
#include <dlfcn.h>

#include "io/errors.h"
#include "io/files.h"

namespace tn {

NordLibrary::~NordLibrary() {
    if (handle_) ::dlclose(handle_);
}

void NordLibrary::CALLNORD(const std::int32_t* n, const double* X, const double* Z, const double* G,
                           const double* src, const double* rcv, const std::int32_t* nband, const double* freq,
                           const double* wind, const double* tground, const double* wextra4, const double* grad,
                           const double* wextra1, const double* wextra2, const double* zero, const double* wextra3,
                           const double* par2, const double* par3, const double* par1, float* gterm, void* scratch,
                           const double* wind2) const {
    std::lock_guard<std::mutex> lock(mutex_);
    fn_(n, X, Z, G, src, rcv, nband, freq, wind, tground, wextra4, grad, wextra1, wextra2, zero, wextra3, par2, par3,
        par1, gterm, scratch, wind2);
}

std::unique_ptr<NordLibrary> load_nord_library(const std::string& exedir, const std::string& weatherfile) {
    const std::string selects = "this weather file selects the Nord2000 propagation model, ";
    const char* env = std::getenv("TRACKNOISE_NORD2000");
    const bool from_env = env != nullptr && *env != '\0';
    // The program's folder has no trailing separator; empty stands for the root.
    const std::string path = from_env ? std::string(env) : exedir + "/libnord2000.so";
    const std::string where = from_env ? "named by TRACKNOISE_NORD2000" : "in the program's folder";
    if (!file_exists(path)) {
        throw file_error(weatherfile, 0,
                         selects + "but its library " + path + " (" + where + ") does not exist" +
                             (from_env ? std::string()
                                       : std::string("; put libnord2000.so there, or name the library in the "
                                                     "environment variable TRACKNOISE_NORD2000")));
    }
    // A name without a folder would send the loader through its search path instead.
    const std::string load = path.find('/') == std::string::npos ? "./" + path : path;
    ::dlerror();
    void* handle = ::dlopen(load.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = ::dlerror();
        throw file_error(weatherfile, 0,
                         selects + "but its library " + path + " (" + where + ") cannot be loaded: " +
                             (why ? why : "no reason given"));
    }
    void* sym = ::dlsym(handle, "CALLNORD");
    if (!sym) {
        ::dlclose(handle);
        throw file_error(weatherfile, 0,
                         selects + "but the library " + path + " (" + where + ") has no entry CALLNORD");
    }
    return std::make_unique<NordLibrary>(handle, reinterpret_cast<CallnordFn>(sym), path);
}

}  // namespace tn
