// The JPEG 2000 engine: structure and limits checked first, then scenes decoded tile by tile
// at the reduction's resolution level, never more than a tile or an area at a time.
#include "Jpeg2000Engine.h"

#include "Jpeg2000Blocks.h"
#include "Jpeg2000Boxes.h"
#include "Jpeg2000Channels.h"
#include "Jpeg2000Codec.h"
#include "Jpeg2000Codestream.h"
#include "Jpeg2000Georef.h"
#include "Jpeg2000Stream.h"
#include "Jpeg2000TileWorkers.h"

#include "engines/WorldFile.h"
#include "lti/LTIUtils.h"

#include <algorithm>
#include <new>
#include <thread>

namespace engines::jpeg2000 {
namespace {

using namespace LizardTech;

constexpr size_t kCacheBytes = 48u << 20;       // decoded tiles kept for the next strip
constexpr uint64_t kWholeTileBytes = 64u << 20; // larger tiles are decoded by area
constexpr unsigned kMaxThreads = 8;
// Below this many pixels a reduced tile decodes faster on one thread than the pool can share.
constexpr uint64_t kThreadedTilePixels = 256 * 256;
// Reduced tiles up to this many pixels are decoded several at once, one a thread; larger ones
// give the codec's threads enough code-blocks, and each worker would hold a whole tile.
constexpr uint64_t kSharedTilePixels = 512 * 512;
constexpr uint64_t kSharedBatchBytes = 16u << 20; // tiles decoded side by side before placing

uint32_t CeilShift(uint32_t v, uint32_t shift) {
    return static_cast<uint32_t>((uint64_t{v} + (uint64_t{1} << shift) - 1) >> shift);
}

// A tile's part of the reference grid, clipped to the image.
struct TileRect {
    uint32_t x0, y0, x1, y1;
};

class Jpeg2000Engine final : public LTIImageEngine {
public:
    LT_STATUS initialize(LTIOStreamInf &stream) override;

protected:
    LT_STATUS decode(const Window &window, LTISceneBuffer &buffer) override;

private:
    uint32_t usableLevels() const;
    TileRect tileRect(uint32_t column, uint32_t row) const;
    bool wholeTiles(uint32_t level) const;
    LT_STATUS decodeTiles(const std::vector<uint32_t> &tiles, const Window &window,
                          uint32_t level, LTISceneBuffer &buffer);
    LT_STATUS decodeTile(uint32_t index, uint32_t level, BandBlock &block);
    void convertTile(uint32_t index, uint32_t level, const DecodedArea &area,
                     BandBlock &block) const;
    void place(BandBlock &&block, const Window &window, LTISceneBuffer &buffer);
    LT_STATUS decodeArea(const TileRect &tile, const Window &window, uint32_t level,
                         LTISceneBuffer &buffer);
    LT_STATUS failed(const Jpeg2000Codec &codec) const;
    uint64_t tilePixels(uint32_t level) const;
    int threadsFor(uint32_t level) const;
    Jpeg2000Codec *keptCodec(uint32_t level, LT_STATUS &status);

    std::unique_ptr<StreamBytes> bytes_;
    Jp2Boxes boxes_;
    CodestreamHeader header_;
    BandLayout layout_;
    int threads_ = 1;
    std::unique_ptr<Jpeg2000Codec> codec_; // kept open: one-tile images and whole tiles
    uint32_t codecLevel_ = 0;              // the level codec_ decodes
    std::unique_ptr<TileWorkers> workers_; // several whole tiles at once
    BlockCache cache_{kCacheBytes};
};

// Levels whose reduced size is the full size divided and rounded up, as scenes assume; an
// image origin off the grid of a level makes it and the levels above it unusable.
uint32_t Jpeg2000Engine::usableLevels() const {
    const CodestreamHeader &h = header_;
    uint32_t level = 0;
    while (level < h.levels && level < 30) {
        const uint32_t next = level + 1;
        if (CeilShift(h.x1, next) - CeilShift(h.x0, next) != CeilShift(h.width(), next) ||
            CeilShift(h.y1, next) - CeilShift(h.y0, next) != CeilShift(h.height(), next))
            break;
        level = next;
    }
    return level;
}

LT_STATUS Jpeg2000Engine::initialize(LTIOStreamInf &stream) {
    bytes_ = std::make_unique<StreamBytes>(stream);
    std::string error;
    if (!ReadJp2Boxes(*bytes_, boxes_, error))
        return setLastStatus(LTI_STS_CorruptImage, "JPEG 2000 structure: " + error);
    if (!ReadCodestreamHeader(*bytes_, boxes_.codestreamOffset, boxes_.codestreamLength, header_,
                              error))
        return setLastStatus(LTI_STS_CorruptImage, "JPEG 2000 codestream: " + error);
    if (!CheckCodestreamLimits(header_, boxes_.codestreamLength, error) || !DescribeBands(boxes_, header_, layout_, error))
        return setLastStatus(LTI_STS_UnsupportedImage, "JPEG 2000 image: " + error);
    const LTIPixel pixel(layout_.colorSpace, static_cast<lt_uint16>(layout_.bands.size()),
                         layout_.dataType);
    const uint32_t levels = usableLevels();
    if (const LT_STATUS status =
            setImageProps(header_.width(), header_.height(), pixel, 1.0 / (1u << levels)))
        return status;
    if (layout_.bits != 8 && layout_.bits != 16) {
        // Samples of 12 bits and the like fill their own range, not their type's.
        const double top = double(1u << layout_.bits);
        setDynamicRange(layout_.isSigned ? -top / 2 : 0.0,
                        layout_.isSigned ? top / 2 - 1 : top - 1);
    }
    threads_ = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMaxThreads));
    codec_ = std::make_unique<Jpeg2000Codec>();
    if (!codec_->open(*bytes_, boxes_.codestreamOffset, boxes_.codestreamLength, threads_))
        return setLastStatus(LTI_STS_CorruptImage, "JPEG 2000 codestream: " + codec_->error());
    if (threads_ > 1 && header_.tileCount() > 1)
        workers_ = std::make_unique<TileWorkers>(*bytes_, boxes_.codestreamOffset,
                                                 boxes_.codestreamLength, threads_);
    LTIGeoCoord geo;
    const auto *file = dynamic_cast<const LTIFileBacked *>(&stream);
    if (AddJpeg2000Georeferencing(boxes_, metadata(), geo) ||
        (file && engines::ReadWorldFile(file->filePath(), geo)))
        setGeoCoord(geo);
    return LT_STS_Success;
}

TileRect Jpeg2000Engine::tileRect(uint32_t column, uint32_t row) const {
    const CodestreamHeader &h = header_;
    const uint64_t x0 = uint64_t{h.tileX0} + uint64_t{column} * h.tileWidth;
    const uint64_t y0 = uint64_t{h.tileY0} + uint64_t{row} * h.tileHeight;
    return {static_cast<uint32_t>(std::max<uint64_t>(x0, h.x0)),
            static_cast<uint32_t>(std::max<uint64_t>(y0, h.y0)),
            static_cast<uint32_t>(std::min<uint64_t>(x0 + h.tileWidth, h.x1)),
            static_cast<uint32_t>(std::min<uint64_t>(y0 + h.tileHeight, h.y1))};
}

// Whole tiles are decoded (and kept for the next strip) when there are several and one fits
// the budget as the codec's 32-bit samples.
bool Jpeg2000Engine::wholeTiles(uint32_t level) const {
    return header_.tileCount() > 1 &&
           tilePixels(level) * header_.components.size() * 4 <= kWholeTileBytes;
}

uint64_t Jpeg2000Engine::tilePixels(uint32_t level) const {
    return uint64_t{CeilShift(std::min(header_.tileWidth, header_.width()), level)} *
           CeilShift(std::min(header_.tileHeight, header_.height()), level);
}

int Jpeg2000Engine::threadsFor(uint32_t level) const {
    return tilePixels(level) >= kThreadedTilePixels ? threads_ : 1;
}

LT_STATUS Jpeg2000Engine::failed(const Jpeg2000Codec &codec) const {
    return setLastStatus(LTI_STS_DecodeFailed, "JPEG 2000 decoding: " + codec.error());
}

// The kept codec, opened again when it failed or decoded another level: once it has decoded,
// the codec does not take a new reduction for a one-tile image.
Jpeg2000Codec *Jpeg2000Engine::keptCodec(uint32_t level, LT_STATUS &status) {
    status = LT_STS_Success;
    if (codec_ != nullptr && codecLevel_ == level)
        return codec_.get();
    codec_ = std::make_unique<Jpeg2000Codec>();
    codecLevel_ = level;
    if (codec_->open(*bytes_, boxes_.codestreamOffset, boxes_.codestreamLength,
                     threadsFor(level)))
        return codec_.get();
    status = failed(*codec_);
    codec_.reset();
    return nullptr;
}

// The scene's whole tiles: those kept from the last scene copied, the others decoded side by
// side when there are several, and kept when the next scene needs the rest of them.
LT_STATUS Jpeg2000Engine::decodeTiles(const std::vector<uint32_t> &tiles, const Window &window,
                                      uint32_t level, LTISceneBuffer &buffer) {
    const uint32_t oy = CeilShift(header_.y0, level);
    std::vector<uint32_t> missing;
    for (uint32_t index : tiles) {
        // A kept block starts where an earlier scene stopped: it serves scenes below that.
        const TileRect tile = tileRect(index % header_.tilesAcross(), index / header_.tilesAcross());
        const uint32_t firstRow = std::max(window.y, CeilShift(tile.y0, level) - oy);
        if (const BandBlock *kept = cache_.find(level, index, firstRow))
            CopyBlock(*kept, window.x, window.y, window.width, window.height, buffer);
        else
            missing.push_back(index);
    }
    if (missing.size() < 2 || workers_ == nullptr || tilePixels(level) > kSharedTilePixels) {
        for (uint32_t index : missing) {
            BandBlock block;
            if (const LT_STATUS status = decodeTile(index, level, block))
                return status;
            place(std::move(block), window, buffer);
        }
        return LT_STS_Success;
    }
    // In batches, so that a wide scene's tiles are not all held at once.
    const uint64_t tileBytes = tilePixels(level) * layout_.bands.size() *
                               LTIUtils::getNumBytes(layout_.dataType);
    const size_t batch = static_cast<size_t>(std::max<uint64_t>(
        kSharedBatchBytes / std::max<uint64_t>(tileBytes, 1), static_cast<uint64_t>(threads_)));
    for (size_t first = 0; first < missing.size(); first += batch) {
        const std::vector<uint32_t> some(missing.begin() + first,
                                         missing.begin() + std::min(first + batch, missing.size()));
        std::vector<BandBlock> blocks(some.size());
        const auto convert = [&](size_t slot, const DecodedArea &area) {
            convertTile(some[slot], level, area, blocks[slot]);
        };
        if (!workers_->decode(some, level, convert))
            return setLastStatus(LTI_STS_DecodeFailed, "JPEG 2000 decoding: " + workers_->error());
        for (BandBlock &block : blocks)
            place(std::move(block), window, buffer);
    }
    return LT_STS_Success;
}

// Copies a decoded tile into the scene and keeps the rows the next strip needs.
void Jpeg2000Engine::place(BandBlock &&block, const Window &window, LTISceneBuffer &buffer) {
    CopyBlock(block, window.x, window.y, window.width, window.height, buffer);
    if (block.y + block.height > window.y + window.height)
        cache_.keep(std::move(block), window.y + window.height);
}

void Jpeg2000Engine::convertTile(uint32_t index, uint32_t level, const DecodedArea &area,
                                 BandBlock &block) const {
    block.level = level;
    block.tile = index;
    ConvertDecoded(area, layout_, boxes_.palette, CeilShift(header_.x0, level),
                   CeilShift(header_.y0, level), block);
}

// One tile with the kept codec, on the codec's own threads.
LT_STATUS Jpeg2000Engine::decodeTile(uint32_t index, uint32_t level, BandBlock &block) {
    LT_STATUS status = LT_STS_Success;
    Jpeg2000Codec *codec = keptCodec(level, status);
    if (codec == nullptr)
        return status;
    DecodedArea area;
    if (!codec->decodeTile(index, level, area)) {
        status = failed(*codec);
        codec_.reset();
        return status;
    }
    convertTile(index, level, area, block);
    return LT_STS_Success;
}

LT_STATUS Jpeg2000Engine::decodeArea(const TileRect &tile, const Window &window, uint32_t level,
                                     LTISceneBuffer &buffer) {
    // The scene in reduced reference-grid positions, cut to the tile; a reduced position r
    // starts at r × 2^level on the full grid.
    const uint32_t ox = CeilShift(header_.x0, level), oy = CeilShift(header_.y0, level);
    const uint64_t r0 = std::max<uint64_t>(ox + window.x, CeilShift(tile.x0, level));
    const uint64_t r1 = std::min<uint64_t>(ox + window.x + window.width, CeilShift(tile.x1, level));
    const uint64_t s0 = std::max<uint64_t>(oy + window.y, CeilShift(tile.y0, level));
    const uint64_t s1 =
        std::min<uint64_t>(oy + window.y + window.height, CeilShift(tile.y1, level));
    if (r0 >= r1 || s0 >= s1)
        return LT_STS_Success;
    const auto x0 = static_cast<uint32_t>(std::max<uint64_t>(r0 << level, tile.x0));
    const auto x1 = static_cast<uint32_t>(std::min<uint64_t>(r1 << level, tile.x1));
    const auto y0 = static_cast<uint32_t>(std::max<uint64_t>(s0 << level, tile.y0));
    const auto y1 = static_cast<uint32_t>(std::min<uint64_t>(s1 << level, tile.y1));
    // One-tile images may decode area after area with one codec; otherwise each area needs
    // a codec of its own.
    std::unique_ptr<Jpeg2000Codec> fresh;
    LT_STATUS status = LT_STS_Success;
    Jpeg2000Codec *codec = nullptr;
    if (header_.tileCount() == 1) {
        if ((codec = keptCodec(level, status)) == nullptr)
            return status;
    } else {
        fresh = std::make_unique<Jpeg2000Codec>();
        if (!fresh->open(*bytes_, boxes_.codestreamOffset, boxes_.codestreamLength,
                         threadsFor(level)))
            return failed(*fresh);
        codec = fresh.get();
    }
    DecodedArea area;
    if (!codec->decodeArea(x0, y0, x1, y1, level, area)) {
        status = failed(*codec);
        if (codec == codec_.get())
            codec_.reset();
        return status;
    }
    BandBlock block;
    ConvertDecoded(area, layout_, boxes_.palette, ox, oy, block);
    CopyBlock(block, window.x, window.y, window.width, window.height, buffer);
    return LT_STS_Success;
}

LT_STATUS Jpeg2000Engine::decode(const Window &window, LTISceneBuffer &buffer) {
    uint32_t level = 0;
    while ((1u << level) < window.reduction)
        ++level;
    const bool whole = wholeTiles(level);
    const uint32_t across = header_.tilesAcross(), down = header_.tilesDown();
    const uint32_t ox = CeilShift(header_.x0, level), oy = CeilShift(header_.y0, level);
    try {
        std::vector<uint32_t> tiles; // the whole tiles the scene needs
        for (uint32_t row = 0; row < down; ++row) {
            const TileRect top = tileRect(0, row);
            const uint32_t t0 = CeilShift(top.y0, level) - oy, t1 = CeilShift(top.y1, level) - oy;
            if (t0 == t1 || t1 <= window.y || t0 >= window.y + window.height)
                continue; // empty at this level, or outside the scene
            for (uint32_t column = 0; column < across; ++column) {
                const TileRect tile = tileRect(column, row);
                const uint32_t l0 = CeilShift(tile.x0, level) - ox;
                const uint32_t l1 = CeilShift(tile.x1, level) - ox;
                if (l0 == l1 || l1 <= window.x || l0 >= window.x + window.width)
                    continue;
                if (whole)
                    tiles.push_back(row * across + column);
                else if (const LT_STATUS status = decodeArea(tile, window, level, buffer))
                    return status;
            }
        }
        if (!tiles.empty())
            return decodeTiles(tiles, window, level, buffer);
    } catch (const std::bad_alloc &) {
        return setLastStatus(LT_STS_OutOfMemory, "no memory to decode a JPEG 2000 tile");
    }
    return LT_STS_Success;
}

} // namespace

std::unique_ptr<LTIImageEngine> MakeJpeg2000Engine() { return std::make_unique<Jpeg2000Engine>(); }

} // namespace engines::jpeg2000
