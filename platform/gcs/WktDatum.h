// Reading the GEOGCS of a WKT definition: datum, ellipsoid, prime meridian, angular unit.
#pragma once
#include <cstdint>
#include <string>

#include "gcs/DatumDef.h"
#include "gcs/WktNode.h"

namespace gcsfile {

struct WktGeographic {
    gcs::DatumDef datum;         // with its ellipsoid and prime meridian (degrees)
    double degreesPerUnit = 1.0; // the angular unit of the GEOGCS
    int32_t code = 0;            // EPSG code of the GEOGCS, 0 when none
};

// The EPSG code of node's AUTHORITY["EPSG", code], 0 when it has none or another authority.
int32_t ReadEpsgAuthority(const WktNode &node);

// A UNIT[name, factor] as degrees per unit (angular) or metres per unit (linear), with
// factors that round-trip a known unit snapped to its exact value. False with a message
// when the factor is missing, not positive or not finite.
bool ReadAngularUnit(const WktNode *unit, double &degreesPerUnit, std::wstring &message);
bool ReadLinearUnit(const WktNode *unit, double &metresPerUnit, std::wstring &message);

// The datum of a GEOGCS: an EPSG datum when the WKT names one by code or by name and its
// ellipsoid agrees, else a user-defined one; TOWGS84 values, when given, set its shift.
bool ReadWktGeographic(const WktNode &geogcs, WktGeographic &result, std::wstring &message);

} // namespace gcsfile
