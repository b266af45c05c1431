// Block geometry of strips and tiles, and the checks made before a block is decoded.
#include "TiffChunkGrid.h"

#include "TiffDecodeStrip.h"
#include "TiffTags.h"

#include <algorithm>

namespace tiff {
namespace {

const wchar_t kSourceFile[] = L"Subsystems/TiffImage/TiffChunkGrid";

// Most bytes one stored byte can decode to, with some slack for stream overhead: a block
// claiming more cannot be real and is refused before memory is set aside for it.
constexpr uint64_t kExpansionSlack = 4096;
uint64_t MaxExpansion(uint16_t compression) {
    switch (compression) {
    case kCompressionPackBits:
        return 64; // two bytes repeat one byte up to 128 times
    case kCompressionLzw:
        return 4096; // a 9 to 12-bit code stands for at most 3839 bytes
    default:
        return 1100; // Deflate reaches about 1032 to 1
    }
}

bool Fail(CTiffReader &reader, int line, int32_t code) {
    reader.SetError(kSourceFile, line, code);
    return false;
}

bool CheckedMultiply(uint64_t a, uint64_t b, uint64_t &result) {
    if (a != 0 && b > UINT64_MAX / a)
        return false;
    result = a * b;
    return true;
}

} // namespace

bool TiffChunkGrid::Build(CTiffReader &reader, const TiffDirectory &dir,
                          const TiffImageInfo &info) {
    *this = TiffChunkGrid{};
    tiled_ = info.tiled;
    compression_ = info.compression;
    height_ = info.height;
    chunkWidth_ = info.chunkWidth;
    chunkHeight_ = info.chunkHeight;
    planes_ = info.IsPlanar() ? info.samplesPerPixel : 1;
    const uint64_t samplesInChunk = info.IsPlanar() ? 1 : info.samplesPerPixel;
    rowBytes_ = (uint64_t{chunkWidth_} * samplesInChunk * info.bitsPerSample + 7) / 8;
    across_ = tiled_ ? info.ChunksAcross() : 1;
    const uint64_t down = info.ChunksDown();
    blockRows_ = chunkHeight_;
    uint64_t chunkBytes = 0;
    const bool fits = CheckedMultiply(rowBytes_, chunkHeight_, chunkBytes);
    // Uncompressed rows can be read a few at a time, however large the strip.
    if (!tiled_ && compression_ == kCompressionNone && (!fits || chunkBytes > kSplitBytes)) {
        const uint64_t rows = kSplitBytes / rowBytes_;
        blockRows_ = static_cast<uint32_t>(rows == 0 ? 1 : rows);
        blocksPerChunk_ = (chunkHeight_ + blockRows_ - 1) / blockRows_;
    }
    if (rowBytes_ > kMaxBlockBytes / blockRows_)
        return Fail(reader, __LINE__, kTiffNoMemory);
    if (!CheckedMultiply(down, across_, storedPerPlane_))
        return Fail(reader, __LINE__, kTiffBadFormat);
    bandCount_ = BandOfRow(height_ - 1) + 1;
    return PickTables(reader, dir);
}

bool TiffChunkGrid::PickTables(CTiffReader &reader, const TiffDirectory &dir) {
    // Either pair of tags is accepted for either layout, as libtiff does.
    const uint16_t offsetsTag = tiled_ ? kTagTileOffsets : kTagStripOffsets;
    const uint16_t countsTag = tiled_ ? kTagTileByteCounts : kTagStripByteCounts;
    const uint16_t otherOffsetsTag = tiled_ ? kTagStripOffsets : kTagTileOffsets;
    const uint16_t otherCountsTag = tiled_ ? kTagStripByteCounts : kTagTileByteCounts;
    offsets_ = dir.Find(offsetsTag) ? dir.Find(offsetsTag) : dir.Find(otherOffsetsTag);
    byteCounts_ = dir.Find(countsTag) ? dir.Find(countsTag) : dir.Find(otherCountsTag);
    uint64_t stored = 0;
    if (!CheckedMultiply(storedPerPlane_, planes_, stored))
        return Fail(reader, __LINE__, kTiffBadFormat);
    if (offsets_ == nullptr || offsets_->count < stored || offsets_->Data() == nullptr)
        return Fail(reader, __LINE__, kTiffBadFormat);
    if (byteCounts_ == nullptr) {
        // Only uncompressed strips have a size that can be known without their counts.
        if (compression_ != kCompressionNone)
            return Fail(reader, __LINE__, kTiffBadFormat);
        return true;
    }
    if (byteCounts_->count < stored || byteCounts_->Data() == nullptr)
        return Fail(reader, __LINE__, kTiffBadFormat);
    return true;
}

uint32_t TiffChunkGrid::BandOfRow(uint32_t row) const {
    const uint32_t chunk = row / chunkHeight_;
    if (blocksPerChunk_ == 1)
        return chunk;
    const uint32_t within = row - chunk * chunkHeight_;
    return chunk * blocksPerChunk_ + within / blockRows_;
}

uint32_t TiffChunkGrid::BandTop(uint32_t band) const {
    const uint64_t chunk = band / blocksPerChunk_;
    const uint64_t block = band % blocksPerChunk_;
    return static_cast<uint32_t>(chunk * chunkHeight_ + block * blockRows_);
}

uint32_t TiffChunkGrid::BandBottom(uint32_t band) const {
    const uint64_t chunkEnd = uint64_t{band / blocksPerChunk_ + 1} * chunkHeight_;
    uint64_t bottom = uint64_t{BandTop(band)} + blockRows_;
    if (bottom > chunkEnd)
        bottom = chunkEnd;
    return static_cast<uint32_t>(bottom < height_ ? bottom : height_);
}

uint64_t TiffChunkGrid::StoredIndex(uint32_t band, uint32_t column, uint32_t plane) const {
    const uint64_t chunkRow = band / blocksPerChunk_;
    return uint64_t{plane} * storedPerPlane_ + chunkRow * across_ + column;
}

// Rows a stored strip or tile holds: tiles always their full length, strips up to the image end.
uint64_t TiffChunkGrid::StoredRows(uint32_t band) const {
    if (tiled_)
        return chunkHeight_;
    const uint64_t top = uint64_t{band / blocksPerChunk_} * chunkHeight_;
    return top + chunkHeight_ <= height_ ? chunkHeight_ : height_ - top;
}

bool TiffChunkGrid::Plan(CTiffReader &reader, uint32_t band, uint32_t column, uint32_t plane,
                         BlockPlan &plan) const {
    plan = BlockPlan{};
    const uint64_t stored = StoredIndex(band, column, plane);
    plan.rows = tiled_ ? chunkHeight_ : BandBottom(band) - BandTop(band);
    plan.decodedSize = static_cast<uint32_t>(rowBytes_ * plan.rows);
    plan.offset = offsets_->GetUInt(stored);
    if (compression_ == kCompressionNone)
        return PlanUncompressed(reader, stored, band, plan);
    const uint64_t count = byteCounts_->GetUInt(stored);
    if (count == 0) {
        plan.sparse = true;
        return true;
    }
    if (plan.offset > reader.FileLength() || count > reader.FileLength() - plan.offset)
        return Fail(reader, __LINE__, kTiffReadFailed);
    if (plan.decodedSize > count * MaxExpansion(compression_) + kExpansionSlack)
        return Fail(reader, __LINE__, kTiffBadFormat);
    plan.compressedSize = static_cast<uint32_t>(count);
    return true;
}

uint64_t TiffChunkGrid::ProducibleBytes(const CTiffReader &reader) const {
    const uint64_t claimed = rowBytes_ * chunkHeight_;
    const uint64_t expansion = compression_ == kCompressionNone ? 1 : MaxExpansion(compression_);
    const uint64_t slack = compression_ == kCompressionNone ? 0 : kExpansionSlack;
    uint64_t total = 0;
    for (uint64_t i = 0; i < storedPerPlane_ * planes_; ++i) {
        const uint64_t offset = offsets_->GetUInt(i);
        if (offset >= reader.FileLength())
            continue;
        uint64_t stored = reader.FileLength() - offset;
        if (byteCounts_ != nullptr)
            stored = std::min(stored, byteCounts_->GetUInt(i));
        if (stored != 0)
            total += std::min(claimed, stored * expansion + slack);
    }
    return total;
}

bool TiffChunkGrid::PlanUncompressed(CTiffReader &reader, uint64_t stored, uint32_t band,
                                     BlockPlan &plan) const {
    const uint64_t storedBytes = rowBytes_ * StoredRows(band);
    const uint64_t count = byteCounts_ ? byteCounts_->GetUInt(stored) : storedBytes;
    if (count == 0) {
        plan.sparse = true;
        return true;
    }
    // Extra stored bytes are ignored; too few cannot hold the rows.
    if (count < storedBytes)
        return Fail(reader, __LINE__, kTiffBadFormat);
    plan.offset += uint64_t{band % blocksPerChunk_} * blockRows_ * rowBytes_;
    plan.compressedSize = plan.decodedSize;
    if (plan.offset > reader.FileLength() || plan.decodedSize > reader.FileLength() - plan.offset)
        return Fail(reader, __LINE__, kTiffReadFailed);
    return true;
}

} // namespace tiff
