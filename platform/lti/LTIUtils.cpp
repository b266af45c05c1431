// Colour-space and data-type facts.
#include "LTIUtils.h"

#include "LTIPixel.h"

#include <limits>

namespace LizardTech {

bool LTIUtils::hasAlphaBand(LTIColorSpace colorSpace) { return (colorSpace & 0x10000) != 0; }

lt_uint16 LTIUtils::getNumBands(LTIColorSpace colorSpace) {
    return colorSpace == LTI_COLORSPACE_INVALID ? 0 : static_cast<lt_uint16>(colorSpace & 0xFF);
}

lt_uint32 LTIUtils::getNumBytes(LTIDataType dataType) {
    switch (dataType) {
    case LTI_DATATYPE_UINT8:
    case LTI_DATATYPE_SINT8:
        return 1;
    case LTI_DATATYPE_UINT16:
    case LTI_DATATYPE_SINT16:
        return 2;
    case LTI_DATATYPE_UINT32:
    case LTI_DATATYPE_SINT32:
    case LTI_DATATYPE_FLOAT32:
        return 4;
    case LTI_DATATYPE_FLOAT64:
        return 8;
    default:
        return 0;
    }
}

bool LTIUtils::isFloat(LTIDataType dataType) {
    return dataType == LTI_DATATYPE_FLOAT32 || dataType == LTI_DATATYPE_FLOAT64;
}

double LTIUtils::getTypeMin(LTIDataType dataType) {
    switch (dataType) {
    case LTI_DATATYPE_SINT8:
        return std::numeric_limits<int8_t>::min();
    case LTI_DATATYPE_SINT16:
        return std::numeric_limits<int16_t>::min();
    case LTI_DATATYPE_SINT32:
        return std::numeric_limits<int32_t>::min();
    default:
        return 0.0;
    }
}

double LTIUtils::getTypeMax(LTIDataType dataType) {
    switch (dataType) {
    case LTI_DATATYPE_UINT8:
        return std::numeric_limits<uint8_t>::max();
    case LTI_DATATYPE_SINT8:
        return std::numeric_limits<int8_t>::max();
    case LTI_DATATYPE_UINT16:
        return std::numeric_limits<uint16_t>::max();
    case LTI_DATATYPE_SINT16:
        return std::numeric_limits<int16_t>::max();
    case LTI_DATATYPE_UINT32:
        return std::numeric_limits<uint32_t>::max();
    case LTI_DATATYPE_SINT32:
        return std::numeric_limits<int32_t>::max();
    default:
        return 1.0;
    }
}

LTIPixel::LTIPixel(LTIColorSpace colorSpace, lt_uint16 numBands, LTIDataType dataType, const void *)
    : colorSpace_(colorSpace), numBands_(numBands), dataType_(dataType) {}

lt_uint32 LTIPixel::getNumBytesPerSample() const { return LTIUtils::getNumBytes(dataType_); }

} // namespace LizardTech
