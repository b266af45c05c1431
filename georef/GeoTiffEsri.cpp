// ESRI PE strings in PCSCitationGeoKey, handed to the host's WKT reader.
#include "georef/GeoTiffEsri.h"

#include "gcs/GcsFile.h"

#include <string_view>

namespace georef {

bool ConvertEsriPeString(const std::string &citation, gcs::GCSDef &system) {
    const size_t start = citation.find(kEsriPeStringPhrase);
    if (start == std::string::npos)
        return false;
    return gcsfile::ConvertWktToGCSDef(std::string_view(citation).substr(start), system);
}

} // namespace georef
