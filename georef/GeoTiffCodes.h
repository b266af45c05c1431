// Lookups between GeoTIFF/POSC codes and the host's predefined systems, projection methods
// and linear units.
#pragma once
#include <cstdint>

#include "gcs/GCSDef.h"
#include "gcs/ProjectionMethod.h"

namespace georef {

// ProjCoordTransGeoKey value to projection method; the first matching row wins.
bool GeoTIFFCodeToProjType(int32_t code, gcs::ProjectionMethod *method = nullptr);
// Projection method to ProjCoordTransGeoKey value; the first matching row wins.
bool GeoTIFFProjTypeToCode(gcs::ProjectionMethod method, int32_t *code = nullptr);

// Copies the predefined system with this POSC code into `system`; false (and `system`
// untouched) when there is none.
bool GeoTIFFCoordSysCodeToProjectionAndDatum(int32_t code, gcs::GCSDef &system);
// The POSC code of the first predefined system equal to `system` that has one.
bool GeoTIFFProjectionAndDatumToCoordSysCode(const gcs::GCSDef &system, int32_t *code);

// Units per metre of a POSC linear unit code; 0.0 when unknown.
double LinearScaleFromPOSCNumber(int32_t code);
// POSC linear unit code of a units-per-metre value; 0 when unknown.
int32_t LinearScaleToPOSCNumber(double unitsPerMeter);

} // namespace georef
