// SidInterface: strip decoding and the conversion of buffered rows into the output formats.
#include "SidInterface.h"

#include "SidObjects.h"

#include "shr/Strings.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace LizardTech;

namespace {

constexpr int kWhiteThreshold = 384; // of the sum of blue, green and red

} // namespace

bool SidInterface::ReadScanline(uint32_t row, uint8_t *dest) {
    const uint32_t bands = BandCount();
    if (bands == 0 || dest == nullptr || stripBuffer.empty()) {
        errorText = L"Failed reading or decoding scanline data from MrSID file.";
        return false;
    }
    const size_t plane = stripBuffer.size() / bands;
    bandPlanes.assign(std::max<uint32_t>(3, bands), nullptr);
    for (size_t i = 0; i < bandPlanes.size(); ++i)
        bandPlanes[i] = stripBuffer.data() + i * plane;
    UpdateOutputSize();
    if (row >= outputHeight) {
        errorText = L"Failed reading or decoding scanline data from MrSID file.";
        return false;
    }
    const bool buffered = stripRows >= 1 && stripFirstRow <= row && row < stripFirstRow + stripRows;
    if (!buffered && !ReadStrip(row))
        return false;
    ConvertScanline(row, dest);
    return true;
}

bool SidInterface::ReadStrip(uint32_t first) {
    LTIDynamicRangeFilter &filter = *objects->rangeFilter;
    stripRows = static_cast<uint32_t>(stripBuffer.size() / (size_t{BandCount()} * imageWidth));
    stripRows = std::min(stripRows, kMaxStripRows);
    if (stripRows + first > outputHeight)
        stripRows = outputHeight - first;
    uint32_t levelWidth = 0, levelHeight = 0; // asked as the pipeline expects; not needed here
    filter.getDimsAtMag(1.0 / scale, levelWidth, levelHeight);
    const double x = left / scale;
    const double y = first + top / scale;
    LTISceneBuffer buffer(filter.getPixelProps(), outputWidth, stripRows,
                          reinterpret_cast<void **>(bandPlanes.data()), nullptr);
    const LTIScene scene(x, y, outputWidth, stripRows, 1.0 / scale);
    if (std::fabs(scene.getMag() - 1.0 / scale) > 1e-8) {
        errorText = L"The MrSID reader reported a failure creating an LTIScene object."
                    L"The file may contain an incompatible image or the file may be corrupt.";
        stripRows = 0;
        return false;
    }
    const LT_STATUS status = filter.read(scene, buffer);
    if (status != LT_STS_Success) {
        stripRows = 0;
        errorText = L"Failed reading or decoding scanline data from MrSID file.";
        AppendStatusText(status);
        return false;
    }
    stripFirstRow = first;
    return true;
}

void SidInterface::ConvertScanline(uint32_t row, uint8_t *dest) const {
    if (stripRows == 0 || row < stripFirstRow)
        return;
    const uint32_t bands = BandCount();
    const size_t offset = size_t{row - stripFirstRow} * outputWidth;
    const bool grey = bands < 3;
    const uint8_t *blue = bandPlanes[grey ? 0 : 2] + offset;
    const uint8_t *green = bandPlanes[grey ? 0 : 1] + offset;
    const uint8_t *red = bandPlanes[0] + offset;
    const uint8_t *alpha = bandPlanes[grey ? 0 : 3 % bandPlanes.size()] + offset;
    auto sum = [&](uint32_t x) { return int{blue[x]} + int{green[x]} + int{red[x]}; };
    switch (format) {
    case kColor24:
        for (uint32_t x = 0; x < outputWidth; ++x, dest += 3) {
            dest[0] = blue[x];
            dest[1] = green[x];
            dest[2] = red[x];
        }
        break;
    case kColor32:
        for (uint32_t x = 0; x < outputWidth; ++x, dest += 4) {
            dest[0] = blue[x];
            dest[1] = green[x];
            dest[2] = red[x];
            dest[3] = hasAlpha ? alpha[x] : 255;
        }
        break;
    case kGray256:
        if (bands <= 1) {
            std::memcpy(dest, red, outputWidth);
            break;
        }
        for (uint32_t x = 0; x < outputWidth; ++x)
            dest[x] = static_cast<uint8_t>(sum(x) / 3);
        break;
    case kGray16:
        for (uint32_t x = 0; x < outputWidth; ++x) {
            const auto v = static_cast<uint8_t>(sum(x) / 3.0 * 15.0 / 255.0);
            uint8_t &byte = dest[x / 2];
            byte = (x % 2 == 0) ? static_cast<uint8_t>((byte & 0x0F) | (v << 4))
                                : static_cast<uint8_t>((byte & 0xF0) | v);
        }
        break;
    case kBlackWhite:
        for (uint32_t x = 0; x < outputWidth; ++x) {
            const auto bit = static_cast<uint8_t>(0x80 >> (x % 8));
            if (sum(x) >= kWhiteThreshold)
                dest[x / 8] |= bit;
            else
                dest[x / 8] &= static_cast<uint8_t>(~bit);
        }
        break;
    default:
        break;
    }
}
