// Where an image's decoded blocks come from: strips or tiles, one set per plane, with large
// uncompressed strips split into blocks of fewer rows so that memory stays bounded.
#pragma once
#include "TiffImageLoad.h"
#include "TiffRead.h"

#include <cstdint>

namespace tiff {

// One block to decode: where its bytes are, how many rows, and its sizes.
struct BlockPlan {
    uint64_t offset = 0;
    uint32_t rows = 0;
    uint32_t compressedSize = 0;
    uint32_t decodedSize = 0;
    bool sparse = false; // no bytes stored: the block reads as zeros
};

class TiffChunkGrid {
public:
    // Blocks larger than this are refused (-4).
    static constexpr uint64_t kMaxBlockBytes = uint64_t{1} << 30;
    // Uncompressed strips larger than this are read in blocks of about this size.
    static constexpr uint64_t kSplitBytes = uint64_t{1} << 18;

    // Checks the strip or tile tables of `dir` against the layout; false with the error set.
    bool Build(CTiffReader &reader, const TiffDirectory &dir, const TiffImageInfo &info);

    // Bands are the rows of blocks, top to bottom; columns exist only for tiles.
    uint32_t BandCount() const { return bandCount_; }
    uint32_t BandOfRow(uint32_t row) const;
    uint32_t BandTop(uint32_t band) const;
    uint32_t BandBottom(uint32_t band) const; // exclusive, at most the image height
    uint32_t ColumnOf(uint32_t x) const { return x / chunkWidth_; }
    uint32_t ColumnLeft(uint32_t column) const { return column * chunkWidth_; }
    uint32_t ColumnCount() const { return across_; }
    uint32_t Planes() const { return planes_; }
    uint64_t BlockRowBytes() const { return rowBytes_; }
    uint64_t MaxBlockBytes() const { return rowBytes_ * blockRows_; }
    uint64_t BlockKey(uint32_t band, uint32_t column, uint32_t plane) const {
        return (uint64_t{plane} * bandCount_ + band) * across_ + column;
    }

    // Where block (band, column, plane) is stored; false with the error set when its bytes
    // cannot hold it or lie outside the file.
    bool Plan(CTiffReader &reader, uint32_t band, uint32_t column, uint32_t plane,
              BlockPlan &plan) const;

    // Most bytes the stored strips or tiles can decode to: each at most its claimed size, less
    // when its stored bytes cannot produce that much, nothing for a sparse one.
    uint64_t ProducibleBytes(const CTiffReader &reader) const;

private:
    bool PickTables(CTiffReader &reader, const TiffDirectory &dir);
    bool PlanUncompressed(CTiffReader &reader, uint64_t stored, uint32_t band,
                          BlockPlan &plan) const;
    uint64_t StoredIndex(uint32_t band, uint32_t column, uint32_t plane) const;
    uint64_t StoredRows(uint32_t band) const;

    const TiffEntry *offsets_ = nullptr;
    const TiffEntry *byteCounts_ = nullptr; // absent: uncompressed strips of their full size
    bool tiled_ = false;
    uint16_t compression_ = 1;
    uint32_t height_ = 0;
    uint32_t chunkWidth_ = 1;
    uint32_t chunkHeight_ = 1; // tile length or rows per strip
    uint32_t blockRows_ = 1;
    uint32_t blocksPerChunk_ = 1;
    uint32_t across_ = 1;
    uint32_t bandCount_ = 0;
    uint32_t planes_ = 1;
    uint64_t storedPerPlane_ = 0;
    uint64_t rowBytes_ = 0;
};

} // namespace tiff
