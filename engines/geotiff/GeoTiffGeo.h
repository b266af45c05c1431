// The georeferencing of a GeoTIFF image as the pipeline offers it: its GeoKeys as metadata
// records, and pixel-to-map coordinates of pixel centres. The GeoTIFF module reads the tags;
// this adds only the pipeline's own conventions.
#pragma once
#include "lti/LTIGeoCoord.h"
#include "lti/LTIMetadata.h"

namespace tiff {
struct TiffDirectory;
}

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

// One record per GeoKey of the directory, named "GEOTIFF_NUM::<key id>::<key name>": a 16-bit
// scalar for keys held in the directory itself, doubles or text for keys held in the
// parameter tags. Returns whether the image is PixelIsPoint (GTRasterType 2).
bool AddGeoKeyRecords(const tiff::TiffDirectory &dir, LTIMetadataDatabase &metadata);

// Pixel-to-map coordinates of pixel centres from the module's raster-to-model map: a pixel's
// centre lies half a pixel into raster space, except with PixelIsPoint, where raster
// positions already name pixel centres. False (and `geo` untouched) when the tags give no
// affine map.
bool GeoCoordFromTags(const tiff::TiffDirectory &dir, bool pixelIsPoint, LTIGeoCoord &geo);

} // namespace engines::geotiff
