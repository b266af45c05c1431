// Opening GeoTIFF tags built in memory through the TIFF library's memory source.
#pragma once
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "support/GeoTiffTags.h"

namespace georeftest {

using GeoTiffBuilder = testsupport::GeoTiffTags;

inline bool OpenBuilt(tiff::TiffImageRead &file, const GeoTiffBuilder &builder) {
    return file.OpenSource(tiff::MakeMemorySource(builder.Build()), L"built.tif");
}

} // namespace georeftest
