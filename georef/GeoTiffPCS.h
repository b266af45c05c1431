// The projected part of a GeoTIFF's coordinate system: projection and datum from the keys.
#pragma once
#include "gcs/DatumDef.h"
#include "gcs/ProjectionDef.h"
#include "gcs/WarpDef.h"

namespace georef {

struct GeoTiffParams;

// Linear units per metre of the projected coordinates: ProjLinearUnits, or the user-defined
// ProjLinearUnitSize; 1.0 when the keys give neither.
double GeoTiffLinearUnitsPerMeter(const GeoTiffParams &params);

// Degrees per GeogAngularUnits unit for radians, arc-minutes and arc-seconds; 1.0 otherwise.
double GeoTiffAngularFactor(const GeoTiffParams &params);

// For a projected model (GTModelType 1): converts the record's angles to degrees and lengths
// to metres in place, then builds the projection and datum from ProjectedCSType or from the
// individual keys. Other models succeed at once. False when an output is missing.
bool GeoTiffExtractPCS(GeoTiffParams &params, gcs::ProjectionDef *projection, gcs::DatumDef *datum,
                       gcs::WarpDef *warp, double *linearUnitsPerMeter);

} // namespace georef
