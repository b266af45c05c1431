// Decoding the strips and tiles of one TIFF image into native samples, with a small cache of
// decoded blocks shared by the image's resolution levels.
#pragma once
#include "GeoTiffLayout.h"

#include <cstddef>
#include <list>
#include <memory>
#include <unordered_map>
#include <vector>

namespace tiff {
class CTiffReader;
struct TiffDirectory;
} // namespace tiff

namespace LizardTech {

// A decoded block: rows of blockWidth pixels of samplesPerBlock samples each, every sample in
// native byte order (sub-byte samples widened to one byte).
struct GeoTiffBlock {
    uint32_t rows = 0;
    std::vector<uint8_t> samples;
};
using GeoTiffBlockPtr = std::shared_ptr<const GeoTiffBlock>;

// Least-recently-used decoded blocks, bounded in bytes.
class GeoTiffBlockCache {
public:
    explicit GeoTiffBlockCache(size_t capacityBytes) : capacity_(capacityBytes) {}
    GeoTiffBlockPtr find(uint32_t level, uint64_t block);
    void insert(uint32_t level, uint64_t block, GeoTiffBlockPtr data);

private:
    using Key = std::pair<uint32_t, uint64_t>;
    struct KeyHash {
        size_t operator()(const Key &k) const {
            return std::hash<uint64_t>()(k.second * 64 + k.first);
        }
    };
    struct Entry {
        Key key;
        GeoTiffBlockPtr data;
    };
    size_t capacity_;
    size_t used_ = 0;
    std::list<Entry> order_; // most recent first
    std::unordered_map<Key, std::list<Entry>::iterator, KeyHash> index_;
};

// Decodes the blocks of one image (directory) of an open file.
class GeoTiffBlockDecoder {
public:
    GeoTiffBlockDecoder(tiff::CTiffReader &reader, const tiff::TiffDirectory &dir,
                        const GeoTiffLayout &layout);
    // Block `index` (plane-major: plane × blocksAcross × blocksDown + row × blocksAcross + col).
    LT_STATUS decode(uint64_t index, GeoTiffBlock &block);

private:
    LT_STATUS decodeBytes(uint64_t index, uint32_t rows, std::vector<uint8_t> &bytes);
    void toNativeSamples(std::vector<uint8_t> &bytes, uint32_t rows) const;

    tiff::CTiffReader &reader_;
    std::unique_ptr<tiff::TiffDirectory> dir_; // with SamplesPerPixel 1 when planar
    const GeoTiffLayout &layout_;
};

} // namespace LizardTech
