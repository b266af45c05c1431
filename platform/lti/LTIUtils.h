// Helpers over colour spaces and data types.
#pragma once
#include "LTITypes.h"

namespace LizardTech {

class LTIUtils {
public:
    static bool hasAlphaBand(LTIColorSpace colorSpace);
    // Bands a colour space implies; 0 for the multispectral space (its count varies).
    static lt_uint16 getNumBands(LTIColorSpace colorSpace);
    static lt_uint32 getNumBytes(LTIDataType dataType);
    static bool isFloat(LTIDataType dataType);
    // The natural range of a data type: its integer limits, or 0 to 1 for floating point.
    static double getTypeMin(LTIDataType dataType);
    static double getTypeMax(LTIDataType dataType);
};

} // namespace LizardTech
