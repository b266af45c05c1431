// The open GeoTIFF engine: TIFF and BigTIFF images read through the TIFF library.
#pragma once
#include "LTIImageEngine.h"

#include <memory>

namespace LizardTech {

std::unique_ptr<LTIImageEngine> MakeGeoTiffEngine();

} // namespace LizardTech
