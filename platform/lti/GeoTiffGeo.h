// The georeferencing of a GeoTIFF image as the pipeline offers it: its GeoKeys as metadata
// records, and its tie point and pixel scale (or matrix) as pixel-to-map coordinates.
#pragma once
#include "LTIGeoCoord.h"
#include "LTIMetadata.h"

namespace tiff {
struct TiffDirectory;
}

namespace LizardTech {

// One record per GeoKey, named "GEOTIFF_NUM::<key id>::<key name>": a 16-bit scalar for keys
// held in the directory itself, doubles or text for keys held in the parameter tags. Keys
// pointing outside their parameter tag are skipped.
void AddGeoKeyRecords(const tiff::TiffDirectory &dir, LTIMetadataDatabase &metadata);

// Pixel-centre coordinates from ModelPixelScale and ModelTiepoint, or from the transformation
// matrix; false (and `geo` untouched) when the image has neither. Honours PixelIsPoint.
bool GeoCoordFromTags(const tiff::TiffDirectory &dir, LTIGeoCoord &geo);

} // namespace LizardTech
