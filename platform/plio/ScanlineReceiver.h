// ScanlineReceiver: where the host takes an image's rows as the filter produces them, so the
// image never has to be held whole. The receiver belongs to the transfer object that asked for
// it: dropping the object without handing it over drops the rows the host has taken so far.
#pragma once
#include "shr/ColorFormat.h"

#include <cstddef>
#include <cstdint>

namespace plio {

struct ScanlineLayout {
    uint32_t width = 0;
    uint32_t height = 0;
    shr::ColorFormat format = shr::ColorFormatInvalid;
    size_t rowBytes = 0;
};

class ScanlineReceiver {
public:
    virtual ~ScanlineReceiver() = default;
    // Rows arrive in order, `index` from 0; `data` holds layout.rowBytes bytes.
    virtual void Row(const void *data, uint32_t index) = 0;
    // Every row has arrived.
    virtual void End() = 0;

protected:
    ScanlineReceiver() = default;
};

} // namespace plio
