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
                           const double* wind, const double* t0, const double* wextra4, const double* grad,
                           const double* wextra1, const double* wextra2, const double* zero, const double* wextra3,
                           const double* par2, const double* par3, const double* par1, float* gterm, void* scratch,
                           const double* wind2) const {
    std::lock_guard<std::mutex> lock(mutex_);
    fn_(n, X, Z, G, src, rcv, nband, freq, wind, t0, wextra4, grad, wextra1, wextra2, zero, wextra3, par2, par3,
        par1, gterm, scratch, wind2);
}

std::unique_ptr<NordLibrary> load_nord_library(const std::string& exedir, const std::string& weatherfile) {
    const char* env = std::getenv("TRACKNOISE_NORD2000");
    const std::string beside = (exedir.empty() ? std::string(".") : exedir) + "/libnord2000.so";
    std::string path;
    if (env && *env) path = env;
    else if (file_exists(beside)) path = beside;
    const std::string looked = std::string("TRACKNOISE_NORD2000 (") + (env && *env ? env : "not set") + ") and " + beside;
    if (path.empty()) {
        throw RunError("the weather file " + weatherfile +
                       " selects the Nord2000 propagation model, but its library was not found; looked at " + looked);
    }
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = ::dlerror();
        throw RunError("the weather file " + weatherfile + " selects the Nord2000 propagation model, but its library " +
                       path + " cannot be loaded: " + (why ? why : "unknown reason"));
    }
    void* sym = ::dlsym(handle, "CALLNORD");
    if (!sym) {
        ::dlclose(handle);
        throw RunError("the weather file " + weatherfile + " selects the Nord2000 propagation model, but the library " +
                       path + " has no entry CALLNORD");
    }
    return std::make_unique<NordLibrary>(handle, reinterpret_cast<CallnordFn>(sym), path);
}

}  // namespace tn
