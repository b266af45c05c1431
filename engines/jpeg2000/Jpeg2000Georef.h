// The georeferencing a JP2 file carries, offered as the GeoTIFF engine offers its own: GeoKeys
// as metadata records and a pixel-centre map. GeoJP2 (a GeoTIFF of one pixel in a UUID box)
// comes first, then GMLJP2 (a rectified grid with an EPSG system).
#pragma once
#include "Jpeg2000Boxes.h"

#include "lti/LTIGeoCoord.h"
#include "lti/LTIMetadata.h"

#include <cstdint>
#include <string>
#include <vector>

namespace engines::jpeg2000 {

// A GML rectified grid: the map position of pixel (0, 0)'s centre, the steps of a column
// and of a row, and the EPSG code of the system (0 when its name has none).
struct GmlGrid {
    int32_t epsg = 0;
    double originX = 0, originY = 0;
    double columnX = 0, columnY = 0, rowX = 0, rowY = 0;
};

// Reads the first RectifiedGrid of a GMLJP2 root instance; false when there is none or its
// origin or offset vectors cannot be read. Latitude-first systems are turned to x, y order.
bool ParseGmlGrid(const std::string &xml, GmlGrid &grid);

// Adds the records and sets `geo` from the first source that has them; true when `geo` was
// set. Sources that cannot be read are passed over.
bool AddJpeg2000Georeferencing(const Jp2Boxes &boxes, LizardTech::LTIMetadataDatabase &metadata,
                               LizardTech::LTIGeoCoord &geo);

} // namespace engines::jpeg2000
