// Ellipsoids and datums built from a GeoTIFF's geographic keys.
#pragma once
#include "gcs/DatumDef.h"
#include "gcs/EllipsoidDef.h"

namespace georef {

struct GeoTiffParams;

// GeoTIFF's "user-defined" code (GeoTIFF 1.0, section 6.3).
constexpr uint16_t kUserDefined = 32767;

// The ellipsoid the keys name (GeogEllipsoid) or describe (user-defined, by its axes and
// flattening); false when they give none.
bool GeoTiffEllipsoidFromParams(const GeoTiffParams &params, gcs::EllipsoidDef &ellipsoid);

// The known ellipsoid Clarke 1866, the fallback when the keys give none.
gcs::EllipsoidDef GeoTiffClarke1866();

// The known datum with this EPSG code; false when the list has none.
bool GeoTiffKnownDatum(int32_t code, gcs::DatumDef &datum);

// A user-defined datum on the keys' ellipsoid, or Clarke 1866 when they give none.
gcs::DatumDef GeoTiffUserDefinedDatum(const GeoTiffParams &params);

// A datum from GeogToWGS84 (3 or 7 values), the prime meridian and the ellipsoid keys; false
// (datum untouched) for any other number of values.
bool GeoTiffDatumFromToWGS84(const GeoTiffParams &params, gcs::DatumDef &datum);

} // namespace georef
