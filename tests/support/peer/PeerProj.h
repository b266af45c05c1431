// What PROJ says about an EPSG code, read through its C API into plain values in the library's
// units (degrees, metres, unity), for the EPSG peer tests.
#pragma once
#include <proj.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace peer::proj {

struct PjDeleter {
    void operator()(PJ *object) const { proj_destroy(object); }
};
using PjPtr = std::unique_ptr<PJ, PjDeleter>;

// One PROJ context for a test program, silenced.
PJ_CONTEXT *Context();

PjPtr FromDatabase(int code, PJ_CATEGORY category);

struct Parameter {
    int code = 0; // EPSG parameter code
    std::string name;
    double value = 0.0; // degrees, metres or unity by its unit's category
};

struct Ellipsoid {
    int code = 0;
    double major = 0.0, minor = 0.0, inverseFlattening = 0.0;
};

struct Datum {
    int code = 0;
    Ellipsoid ellipsoid;
    double primeMeridian = 0.0; // degrees
};

struct System {
    PJ_TYPE type = PJ_TYPE_UNKNOWN;
    std::string name;
    Datum datum;
    double metresPerUnit = 0.0; // first axis; radians per unit for geographic systems
    int methodCode = 0;         // projected only; 0 for PROJ's own methods
    std::string conversionName;
    std::vector<Parameter> parameters;
};

std::optional<Ellipsoid> ReadEllipsoid(const PJ *object); // of a CRS, datum or ellipsoid
std::optional<Datum> ReadDatum(const PJ *object);         // of a CRS or datum
std::optional<System> ReadSystem(int code);
std::optional<System> ReadSystem(const PJ *crs); // projected or geographic

// EPSG codes of a type, deprecated ones unless told not to.
std::vector<int> Codes(PJ_TYPE type, bool deprecated = true);

// TOWGS84 values of the geographic system as PROJ bounds it to WGS 84, if it does.
std::optional<std::vector<double>> BoundToWgs84(int geographicCode);

} // namespace peer::proj
