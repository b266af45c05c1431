// The layout of one TIFF image (directory) as the GeoTIFF engine reads it: the TIFF library's
// description plus what the engine needs beyond it (ink set, declared sample range).
#pragma once
#include "lti/LTIStatus.h"

#include "Subsystems/TiffImage/TiffImageLoad.h"

#include <cstdint>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

struct GeoTiffLayout {
    unsigned directory = 0;
    tiff::TiffImageInfo info;
    uint16_t inkSet = 1;
    bool hasDeclaredRange = false; // SMinSampleValue and SMaxSampleValue
    double declaredMin = 0.0;
    double declaredMax = 0.0;

    bool isReducedResolution() const { return (info.subfileType & tiff::kSubfileReduced) != 0; }
    bool isMask() const { return (info.subfileType & tiff::kSubfileMask) != 0; }
};

// Describes directory `directory` and checks that the engine reads its samples; a nonzero
// status (with a recorded reason) when the image is malformed or uses something unsupported.
LT_STATUS DescribeGeoTiffImage(tiff::CTiffReader &reader, unsigned directory,
                               GeoTiffLayout &layout);

} // namespace engines::geotiff
