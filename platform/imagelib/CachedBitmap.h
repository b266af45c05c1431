// CachedBitmap: an image the host reads on demand instead of receiving it decoded.
#pragma once
#include "shr/ColorFormat.h"

#include <cstdint>

namespace imagelib {

class CachedBitmap {
public:
    virtual ~CachedBitmap() = default;
    virtual uint32_t GetWidth() const = 0;
    virtual uint32_t GetHeight() const = 0;
    // Bgr24 or Bgra32.
    virtual shr::ColorFormat GetColorFormat() const = 0;
    // Copies row `row` (GetWidth() pixels) into `dest`; false with GetErrorText() on failure.
    virtual bool ReadRow(uint32_t row, uint8_t *dest) = 0;
    virtual const wchar_t *GetErrorText() const = 0;

protected:
    CachedBitmap() = default;
    CachedBitmap(const CachedBitmap &) = delete;
    CachedBitmap &operator=(const CachedBitmap &) = delete;
};

} // namespace imagelib
