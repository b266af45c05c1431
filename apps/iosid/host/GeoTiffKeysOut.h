// The GeoKeys that describe a coordinate system, as plain values ready for a key directory.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "gcs/CSDef.h"

namespace iosid::host {

struct GeoKeyValue {
    enum class Kind { Short, Double, Ascii };
    uint16_t id = 0;
    Kind kind = Kind::Short;
    uint16_t shortValue = 0;
    std::vector<double> doubles;
    std::string text;
};

// Keys for `system`, in ascending key order: the EPSG code of a predefined system (GetPOSC of a
// GCSDef), else user-defined keys (projection method and parameters, datum, ellipsoid, units);
// a UCSDef gets none. `notes` receives what could not be expressed.
std::vector<GeoKeyValue> GeoKeysFor(const gcs::CSDef &system, std::vector<std::string> *notes);

} // namespace iosid::host
