// Opening built GeoTIFF bytes through the TIFF library's memory source.
#pragma once
#include "GeoTiffBuilder.h"
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffSource.h"

namespace georeftest {

inline bool OpenBuilt(tiff::TiffImageRead &file, const GeoTiffBuilder &builder) {
    return file.OpenSource(tiff::MakeMemorySource(builder.Build()), L"built.tif");
}

} // namespace georeftest
