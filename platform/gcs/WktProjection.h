// Reading the PROJECTION and PARAMETER nodes of a WKT PROJCS into projection parameters.
#pragma once
#include <string>
#include <string_view>

#include "gcs/ProjectionDef.h"
#include "gcs/WktNode.h"

namespace gcsfile {

// The units WKT values are written in: angles in the GEOGCS unit, lengths in the PROJCS unit.
struct WktUnits {
    double degreesPerAngleUnit = 1.0;
    double metresPerLinearUnit = 1.0;
};

// Lower-case letters and digits only, so that "False_Easting", "false easting" and
// "False Easting" compare equal.
std::string NormalizeWktName(std::string_view name);

// Fills method, option and parameters (angles in degrees, lengths in metres) from the
// PROJECTION, PARAMETER, AXIS and EXTENSION nodes of projcs. Leaves linear scale and
// ellipsoid alone. False with a message for an unsupported projection or parameter.
bool ReadWktProjection(const WktNode &projcs, const WktUnits &units,
                       gcs::ProjectionParameters &params, std::wstring &message);

} // namespace gcsfile
