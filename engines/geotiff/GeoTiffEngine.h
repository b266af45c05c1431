// The open GeoTIFF engine: TIFF and BigTIFF images read through the TIFF library.
#pragma once
#include "lti/LTIImageEngine.h"

#include <memory>

namespace engines::geotiff {

std::unique_ptr<LizardTech::LTIImageEngine> MakeGeoTiffEngine();

} // namespace engines::geotiff
