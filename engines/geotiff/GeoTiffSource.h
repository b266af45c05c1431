// A TIFF library source that reads through the pipeline's input stream.
#pragma once
#include "lti/LTIOStreamInf.h"
#include "lti/LTIStatus.h"

#include "Subsystems/TiffImage/TiffSource.h"

#include <memory>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

// The stream must be open and outlive the source; the source does not close it.
std::unique_ptr<tiff::TiffSource> MakeStreamTiffSource(LTIOStreamInf &stream);

} // namespace engines::geotiff
