// Reading coordinate systems from text: WKT 1 as written by ESRI ("PE strings") and OGC.
#pragma once
#include <string>
#include <string_view>

#include "gcs/GCSDef.h"

namespace gcsfile {

// Converts a WKT 1 PROJCS, GEOGCS, COMPD_CS (its horizontal part) or LOCAL_CS into def:
// projection (method and parameters in degrees and metres, ellipsoid, linear scale),
// datum (ellipsoid, prime meridian, TOWGS84 shift; a known EPSG datum when the WKT names
// one), the EPSG code from an AUTHORITY node and the name. A leading "ESRI PE String = "
// (the GeoTIFF citation form) is skipped. On success def's projection, datum, code and
// name are replaced and its warp is kept; on failure def is unchanged and message
// (optional) says why.
bool ConvertWktToGCSDef(std::string_view wkt, gcs::GCSDef &def, std::wstring *message = nullptr);
bool ConvertWktToGCSDef(const std::wstring &wkt, gcs::GCSDef &def, std::wstring *message = nullptr);

} // namespace gcsfile
