// Private helpers for typed sample loops: dispatch on a data type to the matching C++ type.
#pragma once
#include "LTITypes.h"

#include <cstdint>

namespace LizardTech::detail {

// Calls f(T{}) with T the C++ type of `type`; returns false for an invalid type.
template <class F> bool DispatchDataType(LTIDataType type, F &&f) {
    switch (type) {
    case LTI_DATATYPE_UINT8:
        f(uint8_t{});
        return true;
    case LTI_DATATYPE_SINT8:
        f(int8_t{});
        return true;
    case LTI_DATATYPE_UINT16:
        f(uint16_t{});
        return true;
    case LTI_DATATYPE_SINT16:
        f(int16_t{});
        return true;
    case LTI_DATATYPE_UINT32:
        f(uint32_t{});
        return true;
    case LTI_DATATYPE_SINT32:
        f(int32_t{});
        return true;
    case LTI_DATATYPE_FLOAT32:
        f(float{});
        return true;
    case LTI_DATATYPE_FLOAT64:
        f(double{});
        return true;
    default:
        return false;
    }
}

// A double rounded and clamped into T (floating types take the value as it is).
template <class T> T ClampTo(double v, double lo, double hi) {
    if (!(v >= lo))
        v = lo; // NaN too
    if (v > hi)
        v = hi;
    if constexpr (static_cast<T>(0.5) == 0)
        return static_cast<T>(v < 0 ? v - 0.5 : v + 0.5);
    else
        return static_cast<T>(v);
}

} // namespace LizardTech::detail
