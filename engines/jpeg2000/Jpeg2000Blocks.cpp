// Conversion of decoded components into bands, copying into scene buffers, and the cache.
#include "Jpeg2000Blocks.h"

#include "lti/LTIUtils.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace engines::jpeg2000 {
namespace {

using namespace LizardTech;

template <class T> T Clamp(int32_t v) {
    return static_cast<T>(
        std::clamp<int32_t>(v, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

template <class T>
void ConvertBand(const DecodedArea &area, const BandSource &source, const Palette &palette,
                 T *out) {
    const size_t count = size_t{area.width} * area.height;
    const int32_t *in = area.planes[source.component];
    if (source.paletteColumn < 0) {
        for (size_t i = 0; i < count; ++i)
            out[i] = Clamp<T>(in[i]);
        return;
    }
    const size_t columns = palette.bits.size();
    const auto last = static_cast<int32_t>(palette.entries - 1);
    const int32_t *values = palette.values.data() + source.paletteColumn;
    for (size_t i = 0; i < count; ++i)
        out[i] = Clamp<T>(values[size_t(std::clamp(in[i], 0, last)) * columns]);
}

} // namespace

void ConvertDecoded(const DecodedArea &area, const BandLayout &layout, const Palette &palette,
                    uint32_t originX, uint32_t originY, BandBlock &block) {
    const size_t bytes = LTIUtils::getNumBytes(layout.dataType);
    const size_t plane = size_t{area.width} * area.height * bytes;
    block.x = area.x - originX;
    block.y = area.y - originY;
    block.width = area.width;
    block.height = area.height;
    block.bands = static_cast<uint32_t>(layout.bands.size());
    block.samples.resize(plane * layout.bands.size());
    for (size_t b = 0; b < layout.bands.size(); ++b) {
        void *out = block.samples.data() + b * plane;
        switch (layout.dataType) {
        case LTI_DATATYPE_UINT8:
            ConvertBand(area, layout.bands[b], palette, static_cast<uint8_t *>(out));
            break;
        case LTI_DATATYPE_SINT8:
            ConvertBand(area, layout.bands[b], palette, static_cast<int8_t *>(out));
            break;
        case LTI_DATATYPE_UINT16:
            ConvertBand(area, layout.bands[b], palette, static_cast<uint16_t *>(out));
            break;
        default:
            ConvertBand(area, layout.bands[b], palette, static_cast<int16_t *>(out));
            break;
        }
    }
}

void CopyBlock(const BandBlock &block, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
               LTISceneBuffer &buffer) {
    const uint32_t left = std::max(x, block.x), top = std::max(y, block.y);
    const uint32_t right = std::min(x + width, block.x + block.width);
    const uint32_t bottom = std::min(y + height, block.y + block.height);
    if (left >= right || top >= bottom)
        return;
    const LTIPixel &pixel = buffer.getPixelProps();
    const size_t bytes = pixel.getNumBytesPerSample();
    const size_t plane = size_t{block.width} * block.height * bytes;
    for (lt_uint16 b = 0; b < pixel.getNumBands(); ++b)
        for (uint32_t row = top; row < bottom; ++row) {
            const uint8_t *src = block.samples.data() + b * plane +
                                 (size_t{row - block.y} * block.width + (left - block.x)) * bytes;
            std::memcpy(buffer.getRow(b, row - y) + size_t{left - x} * bytes, src,
                        (right - left) * bytes);
        }
}

const BandBlock *BlockCache::find(uint32_t level, uint32_t tile, uint32_t firstRow) const {
    for (const BandBlock &b : blocks_)
        if (b.level == level && b.tile == tile && b.y <= firstRow)
            return &b;
    return nullptr;
}

namespace {

// Drops the rows of `block` above `row`, in a buffer of the rows left.
void DropRowsAbove(BandBlock &block, uint32_t row) {
    const uint32_t dropped = row - block.y, left = block.height - dropped;
    const size_t plane = block.samples.size() / block.bands, rowBytes = plane / block.height;
    std::vector<uint8_t> rest(rowBytes * left * block.bands);
    for (uint32_t b = 0; b < block.bands; ++b)
        std::memcpy(rest.data() + b * rowBytes * left,
                    block.samples.data() + b * plane + dropped * rowBytes, rowBytes * left);
    block.samples = std::move(rest);
    block.y = row;
    block.height = left;
}

} // namespace

void BlockCache::keep(BandBlock &&block, uint32_t nextTop) {
    if (block.y < nextTop)
        DropRowsAbove(block, nextTop);
    const size_t size = block.samples.size();
    if (size > budget_)
        return;
    const auto stale = [&](const BandBlock &b) {
        return b.level != block.level || b.y + b.height <= nextTop;
    };
    for (auto it = blocks_.begin(); it != blocks_.end();)
        if (stale(*it)) {
            used_ -= it->samples.size();
            it = blocks_.erase(it);
        } else {
            ++it;
        }
    while (used_ + size > budget_ && !blocks_.empty()) {
        used_ -= blocks_.front().samples.size();
        blocks_.pop_front();
    }
    used_ += size;
    blocks_.push_back(std::move(block));
}

} // namespace engines::jpeg2000
