// Coordinate systems carried as an ESRI PE string (WKT) in a GeoTIFF citation.
#pragma once
#include <string>

#include "gcs/GCSDef.h"

namespace georef {

// The phrase that starts an ESRI PE string inside PCSCitationGeoKey.
constexpr const char *kEsriPeStringPhrase = "ESRI PE String = ";

// When `citation` holds the phrase, converts the text from the phrase on (phrase included)
// into `system`; false when there is no phrase or the WKT is not understood.
bool ConvertEsriPeString(const std::string &citation, gcs::GCSDef &system);

} // namespace georef
