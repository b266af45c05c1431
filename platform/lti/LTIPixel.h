// LTIPixel: the description of one pixel — colour space, band count and sample data type.
#pragma once
#include "LTITypes.h"

namespace LizardTech {

class LTIPixel {
public:
    // `sampleTemplate` (a sample of each band) is not used by the open engines; pass null.
    LTIPixel(LTIColorSpace colorSpace, lt_uint16 numBands, LTIDataType dataType,
             const void *sampleTemplate = nullptr);
    LTIPixel() = default;

    LTIColorSpace getColorSpace() const { return colorSpace_; }
    lt_uint16 getNumBands() const { return numBands_; }
    LTIDataType getDataType() const { return dataType_; }
    // Bytes of one sample of one band (0 for an invalid data type).
    lt_uint32 getNumBytesPerSample() const;
    bool operator==(const LTIPixel &) const = default;

private:
    LTIColorSpace colorSpace_ = LTI_COLORSPACE_INVALID;
    lt_uint16 numBands_ = 0;
    LTIDataType dataType_ = LTI_DATATYPE_INVALID;
};

} // namespace LizardTech
