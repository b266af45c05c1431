// A TIFF library source that reads through the pipeline's input stream.
#pragma once
#include "LTIOStreamInf.h"
#include "LTIStatus.h"

#include "Subsystems/TiffImage/TiffSource.h"

#include <memory>

namespace LizardTech {

// The stream must be open and outlive the source; the source does not close it.
std::unique_ptr<tiff::TiffSource> MakeStreamTiffSource(LTIOStreamInf &stream);

} // namespace LizardTech
