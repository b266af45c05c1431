// Window reads of one resolution level, block by block, and averaging to coarser scales.
#include "GeoTiffLevels.h"

#include "LTIUtils.h"
#include "SampleOps.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace LizardTech {
namespace {

struct CopyRect { // level coordinates of the part of a block to copy, and where it lands
    uint32_t blockX, blockY, x0, y0, x1, y1, x, y, outRow;
};

template <class T>
void CopySamples(const GeoTiffBlock &data, const GeoTiffLayout &l, const GeoTiffPixelMap &map,
                 uint16_t plane, const CopyRect &r, LTISceneBuffer &out) {
    const uint16_t spb = l.samplesPerBlock();
    const T *samples = reinterpret_cast<const T *>(data.samples.data());
    const uint16_t bands = l.planarConfig == 2 ? 1 : std::min<uint16_t>(spb, map.bands);
    for (uint16_t b = 0; b < bands; ++b) {
        const uint16_t outBand = l.planarConfig == 2 ? plane : b;
        if (outBand >= map.bands)
            continue;
        for (uint32_t yy = r.y0; yy < r.y1; ++yy) {
            const T *src =
                samples + (size_t{yy - r.blockY} * l.blockWidth + (r.x0 - r.blockX)) * spb + b;
            T *dst = reinterpret_cast<T *>(out.getRow(outBand, r.outRow + yy - r.y)) + (r.x0 - r.x);
            const uint32_t n = r.x1 - r.x0;
            if (map.invert)
                for (uint32_t i = 0; i < n; ++i)
                    dst[i] =
                        static_cast<T>(map.invertFrom - static_cast<double>(src[size_t{i} * spb]));
            else if (spb == 1)
                std::memcpy(dst, src, n * sizeof(T));
            else
                for (uint32_t i = 0; i < n; ++i)
                    dst[i] = src[size_t{i} * spb];
        }
    }
}

template <class Index>
void CopyPalette(const GeoTiffBlock &data, const GeoTiffLayout &l, const CopyRect &r,
                 LTISceneBuffer &out) {
    const size_t entries = l.colorMap.size() / 3;
    const Index *samples = reinterpret_cast<const Index *>(data.samples.data());
    for (uint32_t yy = r.y0; yy < r.y1; ++yy) {
        const Index *src = samples + size_t{yy - r.blockY} * l.blockWidth + (r.x0 - r.blockX);
        for (uint16_t b = 0; b < 3; ++b) {
            auto *dst =
                reinterpret_cast<uint16_t *>(out.getRow(b, r.outRow + yy - r.y)) + (r.x0 - r.x);
            const uint16_t *table = l.colorMap.data() + b * entries;
            for (uint32_t i = 0; i < r.x1 - r.x0; ++i)
                dst[i] = src[i] < entries ? table[src[i]] : 0;
        }
    }
}

template <class T>
void AveragePlane(const LTISceneBuffer &in, uint16_t band, uint32_t inWidth, uint32_t inHeight,
                  uint32_t k, LTISceneBuffer &out, uint32_t outRow, uint32_t outWidth,
                  uint32_t outHeight, double lo, double hi) {
    std::vector<double> sums(outWidth);
    for (uint32_t oy = 0; oy < outHeight; ++oy) {
        const uint32_t y0 = std::min(oy * k, inHeight - 1);
        const uint32_t y1 = std::max(y0 + 1, std::min((oy + 1) * k, inHeight));
        std::fill(sums.begin(), sums.end(), 0.0);
        for (uint32_t y = y0; y < y1; ++y) {
            const T *src = reinterpret_cast<const T *>(in.getRow(band, y));
            for (uint32_t ox = 0; ox < outWidth; ++ox) {
                const uint32_t x0 = std::min(ox * k, inWidth - 1);
                const uint32_t x1 = std::max(x0 + 1, std::min((ox + 1) * k, inWidth));
                double s = 0.0;
                for (uint32_t x = x0; x < x1; ++x)
                    s += static_cast<double>(src[x]);
                sums[ox] += s / (x1 - x0);
            }
        }
        T *dst = reinterpret_cast<T *>(out.getRow(band, outRow + oy));
        for (uint32_t ox = 0; ox < outWidth; ++ox) {
            const double mean = sums[ox] / (y1 - y0);
            if constexpr (std::is_floating_point_v<T>)
                dst[ox] = static_cast<T>(mean); // NaN and infinities stay what they are
            else
                dst[ox] = detail::ClampTo<T>(mean, lo, hi);
        }
    }
}

} // namespace

LT_STATUS GeoTiffLevelReader::block(uint64_t index, GeoTiffBlockPtr &data) {
    data = cache_.find(index_, index);
    if (data)
        return LT_STS_Success;
    auto decoded = std::make_shared<GeoTiffBlock>();
    if (const LT_STATUS status = level_.decoder->decode(index, *decoded))
        return status;
    data = decoded;
    cache_.insert(index_, index, data);
    return LT_STS_Success;
}

LT_STATUS GeoTiffLevelReader::readRect(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                       LTISceneBuffer &out, uint32_t outRow) {
    const GeoTiffLayout &l = level_.layout;
    x = std::min(x, l.width - 1);
    y = std::min(y, l.height - 1);
    const uint32_t availW = std::min(width, l.width - x);
    const uint32_t availH = std::min(height, l.height - y);
    const uint64_t perPlane = uint64_t{l.blocksAcross} * l.blocksDown;
    for (uint16_t plane = 0; plane < l.planes() && plane < map_.bands; ++plane) {
        for (uint32_t by = y / l.blockHeight; by <= (y + availH - 1) / l.blockHeight; ++by) {
            for (uint32_t bx = x / l.blockWidth; bx <= (x + availW - 1) / l.blockWidth; ++bx) {
                GeoTiffBlockPtr data;
                const uint64_t index = plane * perPlane + uint64_t{by} * l.blocksAcross + bx;
                if (const LT_STATUS status = block(index, data))
                    return status;
                const uint32_t blockX = bx * l.blockWidth, blockY = by * l.blockHeight;
                copyBlock(*data, plane, blockX, blockY, std::max(x, blockX), std::max(y, blockY),
                          std::min(x + availW, blockX + l.blockWidth),
                          std::min({y + availH, blockY + l.blockHeight, blockY + data->rows}), x, y,
                          out, outRow);
            }
        }
    }
    repeatEdges(availW, availH, width, height, out, outRow);
    return LT_STS_Success;
}

void GeoTiffLevelReader::copyBlock(const GeoTiffBlock &data, uint16_t plane, uint32_t blockX,
                                   uint32_t blockY, uint32_t x0, uint32_t y0, uint32_t x1,
                                   uint32_t y1, uint32_t x, uint32_t y, LTISceneBuffer &out,
                                   uint32_t outRow) const {
    if (x0 >= x1 || y0 >= y1)
        return;
    const CopyRect r{blockX, blockY, x0, y0, x1, y1, x, y, outRow};
    const GeoTiffLayout &l = level_.layout;
    if (map_.palette) {
        if (l.bitsPerSample == 16)
            CopyPalette<uint16_t>(data, l, r, out);
        else
            CopyPalette<uint8_t>(data, l, r, out);
        return;
    }
    detail::DispatchDataType(out.getPixelProps().getDataType(), [&](auto t) {
        CopySamples<decltype(t)>(data, l, map_, plane, r, out);
    });
}

void GeoTiffLevelReader::repeatEdges(uint32_t availW, uint32_t availH, uint32_t width,
                                     uint32_t height, LTISceneBuffer &out, uint32_t outRow) const {
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

void AverageDown(const LTISceneBuffer &in, uint32_t inWidth, uint32_t inHeight, uint32_t k,
                 LTISceneBuffer &out, uint32_t outRow, uint32_t outWidth, uint32_t outHeight) {
    const LTIDataType type = in.getPixelProps().getDataType();
    const double lo = LTIUtils::getTypeMin(type), hi = LTIUtils::getTypeMax(type);
    for (uint16_t b = 0; b < in.getPixelProps().getNumBands(); ++b)
        detail::DispatchDataType(type, [&](auto t) {
            AveragePlane<decltype(t)>(in, b, inWidth, inHeight, k, out, outRow, outWidth, outHeight,
                                      lo, hi);
        });
}

} // namespace LizardTech
