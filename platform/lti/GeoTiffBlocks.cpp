// Strip and tile decoding through the TIFF library, and the decoded-block cache.
#include "GeoTiffBlocks.h"

#include "Subsystems/TiffImage/TiffDecodeStrip.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "shr/ByteSwap.h"
#include "shr/Strings.h"

#include <cstring>
#include <limits>
#include <string>

namespace LizardTech {
namespace {

constexpr uint16_t kSamplesPerPixelTag = 277;
constexpr uint16_t kPredictorFloatingPoint = 3;

// The directory the decoder sees for one plane of a planar image: one sample per pixel, so
// that its row size and predictor step are those of the plane.
std::unique_ptr<tiff::TiffDirectory> PlaneDirectory(const tiff::TiffDirectory &dir, bool planar) {
    auto copy = std::make_unique<tiff::TiffDirectory>(dir);
    if (!planar)
        return copy;
    for (auto &entry : copy->entries) {
        if (entry.tag != kSamplesPerPixelTag)
            continue;
        std::memset(entry.value, 0, sizeof entry.value);
        entry.count = 1;
        entry.values.clear();
        if (entry.type == tiff::kTypeLong) {
            const uint32_t one = 1;
            std::memcpy(entry.value, &one, sizeof one);
        } else {
            const uint16_t one = 1;
            std::memcpy(entry.value, &one, sizeof one);
        }
    }
    return copy;
}

void UnpackRow(const uint8_t *in, uint8_t *out, uint64_t samples, uint16_t bits) {
    const unsigned mask = (1u << bits) - 1;
    for (uint64_t i = 0; i < samples; ++i) {
        const uint64_t bit = i * bits;
        const unsigned shift = 8 - bits - static_cast<unsigned>(bit % 8);
        out[i] = static_cast<uint8_t>((in[bit / 8] >> shift) & mask);
    }
}

} // namespace

GeoTiffBlockPtr GeoTiffBlockCache::find(uint32_t level, uint64_t block) {
    const auto it = index_.find({level, block});
    if (it == index_.end())
        return nullptr;
    order_.splice(order_.begin(), order_, it->second);
    return it->second->data;
}

void GeoTiffBlockCache::insert(uint32_t level, uint64_t block, GeoTiffBlockPtr data) {
    const size_t size = data->samples.size();
    if (size > capacity_ || index_.count({level, block}) != 0)
        return;
    while (used_ + size > capacity_ && !order_.empty()) {
        used_ -= order_.back().data->samples.size();
        index_.erase(order_.back().key);
        order_.pop_back();
    }
    order_.push_front({{level, block}, std::move(data)});
    index_[{level, block}] = order_.begin();
    used_ += size;
}

GeoTiffBlockDecoder::GeoTiffBlockDecoder(tiff::CTiffReader &reader, const tiff::TiffDirectory &dir,
                                         const GeoTiffLayout &layout)
    : reader_(reader), dir_(PlaneDirectory(dir, layout.planarConfig == 2)), layout_(layout) {}

LT_STATUS GeoTiffBlockDecoder::decode(uint64_t index, GeoTiffBlock &block) {
    const uint64_t perPlane = uint64_t{layout_.blocksAcross} * layout_.blocksDown;
    if (index >= perPlane * layout_.planes())
        return setLastStatus(LT_STS_BadParam, "block index out of range");
    block.rows =
        layout_.rowsInBlock(static_cast<uint32_t>((index % perPlane) / layout_.blocksAcross));
    std::vector<uint8_t> bytes;
    if (const LT_STATUS status = decodeBytes(index, block.rows, bytes))
        return status;
    toNativeSamples(bytes, block.rows);
    block.samples = std::move(bytes);
    return LT_STS_Success;
}

LT_STATUS GeoTiffBlockDecoder::decodeBytes(uint64_t index, uint32_t rows,
                                           std::vector<uint8_t> &bytes) {
    const uint64_t decoded = layout_.blockRowBytes() * rows;
    uint64_t offset = layout_.offsets[index];
    uint64_t count = layout_.byteCounts[index];
    bytes.assign(static_cast<size_t>(decoded), 0);
    if (offset == 0 && count == 0)
        return LT_STS_Success; // a sparse block: never written, reads as zeros
    if (layout_.compression == 1 && count > decoded)
        count = decoded; // writers may pad uncompressed blocks
    constexpr uint64_t kLimit = std::numeric_limits<uint32_t>::max();
    if (offset > kLimit || count > kLimit)
        return setLastStatus(LTI_STS_UnsupportedImage, "strip or tile data beyond 4 GiB");
    if (!tiff::ImageDecodeStrip(reader_, *dir_, static_cast<uint32_t>(offset), rows,
                                static_cast<uint32_t>(count), static_cast<uint32_t>(decoded),
                                bytes.data()))
        return setLastStatus(LTI_STS_DecodeFailed, std::string(layout_.tiled ? "tile " : "strip ") +
                                                       std::to_string(index) + ": " +
                                                       shr::WtoA(reader_.Error().Describe()));
    return LT_STS_Success;
}

void GeoTiffBlockDecoder::toNativeSamples(std::vector<uint8_t> &bytes, uint32_t rows) const {
    const uint16_t bits = layout_.bitsPerSample;
    if (bits < 8) {
        const uint64_t perRow = uint64_t{layout_.blockWidth} * layout_.samplesPerBlock();
        std::vector<uint8_t> wide(static_cast<size_t>(perRow * rows));
        for (uint32_t r = 0; r < rows; ++r)
            UnpackRow(bytes.data() + r * layout_.blockRowBytes(), wide.data() + r * perRow, perRow,
                      bits);
        bytes.swap(wide);
        return;
    }
    // The floating-point predictor leaves little-endian values whatever the file's order.
    const bool swap =
        bits > 8 && reader_.IsBigEndian() &&
        !(layout_.predictor == kPredictorFloatingPoint &&
          (layout_.compression == 5 || layout_.compression == 8 || layout_.compression == 32946));
    if (swap)
        shr::ByteSwapArray(bytes.data(), bits / 8, bytes.size() / (bits / 8));
}

} // namespace LizardTech
