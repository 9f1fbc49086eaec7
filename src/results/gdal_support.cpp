#include "results/gdal_support.h"

#include <cstring>
#include <iostream>

#include <cpl_error.h>
#include <cpl_string.h>
#include <gdal.h>

#include "io/errors.h"

namespace tn {

namespace {

std::string gdal_program = "tracknoise-metrics";

extern "C" void on_gdal_message(CPLErr level, CPLErrorNum, const char* msg) {
    const std::string text = msg ? msg : "";
    if (level >= CE_Failure) return;   // kept by GDAL for gdal_failure
    if (level == CE_Warning) {
        if (text.find("extension should be 'gpkg'") != std::string::npos) return;
        std::cerr << gdal_program << ": GDAL: " << text << "\n";
    }
}

}  // namespace

void gdal_start(const char* program) {
    static bool started = false;
    gdal_program = program;
    if (started) return;
    started = true;
    GDALAllRegister();
    CPLSetErrorHandler(on_gdal_message);
}

void gdal_failure(const std::string& name, const std::string& what) {
    std::string msg = what;
    if (CPLGetLastErrorType() >= CE_Failure && *CPLGetLastErrorMsg()) msg += ": " + std::string(CPLGetLastErrorMsg());
    CPLErrorReset();
    throw file_error(name, 0, msg);
}

char** contour_options(const std::string& fixed_levels, const char* nodata, bool filled) {
    char** opts = CSLSetNameValue(nullptr, "FIXED_LEVELS", fixed_levels.c_str());
    if (nodata) opts = CSLSetNameValue(opts, "NODATA", nodata);
    if (filled) {
        opts = CSLSetNameValue(opts, "POLYGONIZE", "YES");
        opts = CSLSetNameValue(opts, "ELEV_FIELD_MIN", "0");
        opts = CSLSetNameValue(opts, "ELEV_FIELD_MAX", "1");
    } else {
        opts = CSLSetNameValue(opts, "ELEV_FIELD", "0");
    }
    return opts;
}

}  // namespace tn
