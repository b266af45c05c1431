// Window reads of one resolution level through the TIFF library's loader.
#include "GeoTiffLevels.h"

#include "lti/SampleOps.h"

#include "shr/Strings.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

namespace {

// Rows are fetched from the loader in bands of about this many bytes.
constexpr uint64_t kBandBytes = 4u << 20;

// Chunky samples (native order, one byte each below 8 bits) to the planes of `out`.
template <class T>
void ScatterSamples(const uint8_t *row, uint16_t samplesPerPixel, const GeoTiffPixelMap &map,
                    uint32_t width, LTISceneBuffer &out, uint32_t outRow) {
    const T *src = reinterpret_cast<const T *>(row);
    const uint16_t stored = map.maskAlpha ? map.bands - 1 : map.bands;
    for (uint16_t b = 0; b < stored; ++b) {
        T *dst = reinterpret_cast<T *>(out.getRow(b, outRow));
        if (map.invert)
            for (uint32_t x = 0; x < width; ++x)
                dst[x] = static_cast<T>(map.invertFrom -
                                        static_cast<double>(src[size_t{x} * samplesPerPixel + b]));
        else if (samplesPerPixel == 1)
            std::memcpy(dst, src, width * sizeof(T));
        else
            for (uint32_t x = 0; x < width; ++x)
                dst[x] = src[size_t{x} * samplesPerPixel + b];
    }
}

template <class Index>
void ScatterPalette(const uint8_t *row, const std::vector<uint16_t> &colormap, uint32_t width,
                    LTISceneBuffer &out, uint32_t outRow) {
    const size_t entries = colormap.size() / 3;
    const Index *src = reinterpret_cast<const Index *>(row);
    for (uint16_t b = 0; b < 3; ++b) {
        auto *dst = reinterpret_cast<uint16_t *>(out.getRow(b, outRow));
        const uint16_t *table = colormap.data() + b * entries;
        for (uint32_t x = 0; x < width; ++x)
            dst[x] = src[x] < entries ? table[src[x]] : 0;
    }
}

// Samples narrower than a byte, most significant bits first, widened to a byte each.
void UnpackRow(const uint8_t *in, uint8_t *out, uint64_t samples, uint16_t bits) {
    const unsigned mask = (1u << bits) - 1;
    for (uint64_t i = 0; i < samples; ++i) {
        const uint64_t bit = i * bits;
        const unsigned shift = 8 - bits - static_cast<unsigned>(bit % 8);
        out[i] = static_cast<uint8_t>((in[bit / 8] >> shift) & mask);
    }
}

} // namespace

LT_STATUS GeoTiffLevelReader::readRect(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                       LTISceneBuffer &out, uint32_t outRow) {
    const tiff::TiffImageInfo &info = level_.layout.info;
    x = std::min(x, info.width - 1);
    y = std::min(y, info.height - 1);
    const uint32_t availW = std::min(width, info.width - x);
    const uint32_t availH = std::min(height, info.height - y);
    const uint64_t rowBytes = info.RowBytes(availW);
    const auto bandRows =
        static_cast<uint32_t>(std::clamp<uint64_t>(kBandBytes / rowBytes, 1, availH));
    std::vector<uint8_t> rows(static_cast<size_t>(rowBytes * bandRows));
    std::vector<uint8_t> widened(info.bitsPerSample < 8 ? size_t{availW} * info.samplesPerPixel
                                                        : 0);
    for (uint32_t r = 0; r < availH; r += bandRows) {
        const uint32_t n = std::min(bandRows, availH - r);
        if (!level_.loader->ReadWindow(x, y + r, availW, n, rows.data()))
            return setLastStatus(LTI_STS_DecodeFailed, failure(y + r, n, ""));
        for (uint32_t i = 0; i < n; ++i) {
            const uint8_t *row = rows.data() + i * rowBytes;
            if (!widened.empty()) {
                UnpackRow(row, widened.data(), widened.size(), info.bitsPerSample);
                row = widened.data();
            }
            scatterRow(row, availW, out, outRow + r + i);
        }
        if (map_.maskAlpha && !readMask(x, y + r, availW, n, out, outRow + r))
            return setLastStatus(LTI_STS_DecodeFailed, failure(y + r, n, "the mask of "));
    }
    repeatEdges(availW, availH, width, height, out, outRow);
    return LT_STS_Success;
}

std::string GeoTiffLevelReader::failure(uint32_t first, uint32_t count, const char *what) const {
    std::string why = shr::WtoA(file_.Error().Describe());
    // The mask is never JPEG, so a decoder's reason belongs to the image's own blocks.
    if (*what == 0 && level_.decoder != nullptr && !level_.decoder->Reason().empty() &&
        file_.Error().code == tiff::kTiffBadFormat)
        why += " (" + level_.decoder->Reason() + ")";
    return "rows " + std::to_string(first) + " to " + std::to_string(first + count - 1) + " of " +
           what + levelName() + ": " + why;
}

// Mask bits (1 opaque) of the rows to the last band: 0 or the pixel type's opaque value.
bool GeoTiffLevelReader::readMask(uint32_t x, uint32_t y, uint32_t width, uint32_t rows,
                                  LTISceneBuffer &out, uint32_t outRow) {
    const uint64_t rowBytes = (uint64_t{width} + 7) / 8;
    std::vector<uint8_t> bits(static_cast<size_t>(rowBytes * rows));
    if (!level_.mask->ReadWindow(x, y, width, rows, bits.data()))
        return false;
    const auto band = static_cast<uint16_t>(map_.bands - 1);
    for (uint32_t i = 0; i < rows; ++i) {
        const uint8_t *src = bits.data() + i * rowBytes;
        detail::DispatchDataType(out.getPixelProps().getDataType(), [&](auto t) {
            using T = decltype(t);
            T *dst = reinterpret_cast<T *>(out.getRow(band, outRow + i));
            const auto opaque = static_cast<T>(map_.opaque);
            for (uint32_t c = 0; c < width; ++c)
                dst[c] = (src[c / 8] >> (7 - c % 8)) & 1 ? opaque : T{0};
        });
    }
    return true;
}

std::string GeoTiffLevelReader::levelName() const {
    return level_.factor == 1 ? "the full-resolution image"
                              : "the overview reduced by " + std::to_string(level_.factor);
}

void GeoTiffLevelReader::scatterRow(const uint8_t *samples, uint32_t width, LTISceneBuffer &out,
                                    uint32_t outRow) const {
    const tiff::TiffImageInfo &info = level_.layout.info;
    if (map_.palette) {
        if (info.bitsPerSample == 16)
            ScatterPalette<uint16_t>(samples, info.colormap, width, out, outRow);
        else
            ScatterPalette<uint8_t>(samples, info.colormap, width, out, outRow);
        return;
    }
    detail::DispatchDataType(out.getPixelProps().getDataType(), [&](auto t) {
        ScatterSamples<decltype(t)>(samples, info.samplesPerPixel, map_, width, out, outRow);
    });
}

void GeoTiffLevelReader::repeatEdges(uint32_t availW, uint32_t availH, uint32_t width,
                                     uint32_t height, LTISceneBuffer &out, uint32_t outRow) const {
    if (availW == width && availH == height)
        return;
    const uint32_t bytes = out.getPixelProps().getNumBytesPerSample();
    for (uint16_t b = 0; b < out.getPixelProps().getNumBands(); ++b) {
        for (uint32_t row = 0; row < height; ++row) {
            uint8_t *dst = out.getRow(b, outRow + row);
            if (row >= availH)
                std::memcpy(dst, out.getRow(b, outRow + availH - 1), size_t{availW} * bytes);
            for (uint32_t col = availW; col < width; ++col)
                std::memcpy(dst + size_t{col} * bytes, dst + size_t{availW - 1} * bytes, bytes);
        }
    }
}

} // namespace engines::geotiff
