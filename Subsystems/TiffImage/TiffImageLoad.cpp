// TiffImageLoader: windows of an image assembled from decoded strips and tiles, with a small
// cache of decoded blocks so that row-by-row reads decode each block once.
#include "TiffImageLoad.h"

#include "TiffChunkGrid.h"
#include "TiffDecodeStrip.h"
#include "TiffPixelCopy.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <list>
#include <new>
#include <unordered_map>

namespace tiff {
namespace {

const wchar_t kSourceFile[] = L"Subsystems/TiffImage/TiffImageLoad";

constexpr size_t kDefaultCacheLimit = size_t{16} << 20;
// The cache keeps at most this many blocks beyond the band a window needs.
constexpr size_t kMaxSpareBlocks = 1024;
constexpr uint16_t kFillOrderReversed = 2;
constexpr uint16_t kPredictorFloat = 3;

struct Window {
    uint32_t x, y, w, h;
    unsigned char *out;
    size_t stride;
};

struct CachedBlock {
    uint64_t key;
    std::vector<unsigned char> data;
};

} // namespace

struct TiffImageLoader::State {
    explicit State(CTiffReader &r) : reader(r) {}

    CTiffReader &reader;
    bool open = false;
    TiffImageInfo info;
    TiffChunkGrid grid;
    // What the strip decoder needs to know, with one sample per pixel for planar images.
    StripCoding coding;
    TiffBlockDecoder *blockDecoder = nullptr;
    bool external = false; // blocks go to blockDecoder
    std::vector<unsigned char> stored;
    bool swapSamples = false;
    bool reverseBits = false;
    size_t cacheLimit = kDefaultCacheLimit;
    size_t capacity = 1;
    std::list<CachedBlock> cache; // most recently used first
    std::unordered_map<uint64_t, std::list<CachedBlock>::iterator> index;

    bool Fail(int line, int32_t code) {
        reader.SetError(kSourceFile, line, code);
        return false;
    }
    void Reset();
    bool Select(unsigned image);
    void PrepareDecoding();
    bool DecodeBlock(const BlockPlan &plan, unsigned char *dest);
    bool DecodeExternal(const BlockPlan &plan, unsigned char *dest);
    // A decoded block, or none for a block with nothing stored (it reads as zeros).
    struct BlockView {
        const unsigned char *data = nullptr;
        bool sparse = false;
    };
    bool GetBlock(uint32_t band, uint32_t column, uint32_t plane, BlockView &view);
    void SetCapacity(size_t blocksNeeded);
    bool ReadWindow(const Window &win);
    bool ReadBand(uint32_t band, const Window &win);
    bool CanDecodeDirect(uint32_t band, const Window &win, uint32_t top, uint32_t bottom) const;
    void CopyPiece(const BlockView &block, uint32_t band, uint32_t column, uint32_t plane,
                   uint32_t top, uint32_t bottom, const Window &win) const;
    void ClearPadding(const Window &win, uint32_t top, uint32_t bottom) const;
};

void TiffImageLoader::State::Reset() {
    open = false;
    external = false;
    info = TiffImageInfo{};
    grid = TiffChunkGrid{};
    coding = StripCoding{};
    cache.clear();
    index.clear();
}

bool TiffImageLoader::State::Select(unsigned image) {
    Reset();
    if (!reader.IsOpen())
        return Fail(__LINE__, kTiffNotOpen);
    if (!DescribeImage(reader, image, info))
        return false;
    external = !IsDecodableCompression(info.compression);
    if (external && (blockDecoder == nullptr || !blockDecoder->Handles(info.compression)))
        return Fail(__LINE__, kTiffUnsupported);
    // Bits stored in reverse order are undone only where no codec reads them first.
    if (info.fillOrder == kFillOrderReversed && info.compression != kCompressionNone)
        return Fail(__LINE__, kTiffUnsupported);
    if (!grid.Build(reader, reader.Directories()[image], info))
        return false;
    PrepareDecoding();
    open = true;
    return true;
}

void TiffImageLoader::State::PrepareDecoding() {
    const uint16_t samplesInBlock = info.IsPlanar() ? 1 : info.samplesPerPixel;
    coding = StripCoding{info.compression, info.predictor, info.bitsPerSample, samplesInBlock};
    reverseBits = info.fillOrder == kFillOrderReversed;
    const unsigned sampleBytes = info.bitsPerSample % 8 == 0 ? info.bitsPerSample / 8 : 1;
    // The floating point predictor leaves little-endian values; everything else is left in
    // the file's order.
    const bool floatPredicted =
        info.predictor == kPredictorFloat &&
        (info.bitsPerSample == 32 || info.bitsPerSample == 64) &&
        (info.compression == kCompressionLzw || info.compression == kCompressionDeflate ||
         info.compression == kCompressionDeflateOld);
    const bool dataLittleEndian = floatPredicted || !reader.IsBigEndian();
    swapSamples =
        sampleBytes > 1 && dataLittleEndian != (std::endian::native == std::endian::little);
}

bool TiffImageLoader::State::DecodeBlock(const BlockPlan &plan, unsigned char *dest) {
    if (plan.sparse) {
        std::memset(dest, 0, plan.decodedSize);
        return true;
    }
    if (external)
        return DecodeExternal(plan, dest);
    // The plan lies inside the file, and files over 4 GiB are refused on opening (status -9),
    // so the offset fits the decoder's 32 bits.
    if (!ImageDecodeStrip(reader, coding, static_cast<uint32_t>(plan.offset), plan.rows,
                          plan.compressedSize, plan.decodedSize, dest))
        return false;
    if (reverseBits)
        ReverseBitsInPlace(dest, plan.decodedSize);
    if (swapSamples)
        SwapSamplesInPlace(dest, plan.decodedSize, info.bitsPerSample / 8);
    return true;
}

// The plan has checked that the stored bytes lie inside the file and could decode to the
// block's size.
bool TiffImageLoader::State::DecodeExternal(const BlockPlan &plan, unsigned char *dest) {
    const unsigned char *bytes = reader.ViewBytes(plan.offset, plan.compressedSize);
    if (bytes == nullptr) {
        stored.resize(plan.compressedSize);
        if (!reader.ReadBytes(plan.offset, stored.data(), stored.size(), kSourceFile, __LINE__))
            return false;
        bytes = stored.data();
    }
    if (!blockDecoder->Decode(bytes, plan.compressedSize, info.chunkWidth, plan.rows, dest,
                              plan.decodedSize))
        return Fail(__LINE__, kTiffBadFormat);
    return true;
}

void TiffImageLoader::State::SetCapacity(size_t blocksNeeded) {
    const uint64_t blockBytes = std::max<uint64_t>(grid.MaxBlockBytes(), 1);
    const size_t spare =
        static_cast<size_t>(std::min<uint64_t>(cacheLimit / blockBytes, kMaxSpareBlocks));
    capacity = std::max<size_t>({blocksNeeded, spare, 1});
    while (cache.size() > capacity) {
        index.erase(cache.back().key);
        cache.pop_back();
    }
}

bool TiffImageLoader::State::GetBlock(uint32_t band, uint32_t column, uint32_t plane,
                                     BlockView &view) {
    view = BlockView{};
    const uint64_t key = grid.BlockKey(band, column, plane);
    if (auto hit = index.find(key); hit != index.end()) {
        cache.splice(cache.begin(), cache, hit->second);
        view.data = cache.front().data.data();
        return true;
    }
    BlockPlan plan;
    if (!grid.Plan(reader, band, column, plane, plan))
        return false;
    // Nothing stored costs nothing: a sparse tile may claim far more than the window needs.
    if (plan.sparse)
        return view.sparse = true;
    if (cache.size() >= capacity) {
        // Reuse the least recently used block and its buffer.
        index.erase(cache.back().key);
        cache.splice(cache.begin(), cache, std::prev(cache.end()));
    } else {
        cache.emplace_front();
    }
    CachedBlock &block = cache.front();
    block.data.resize(plan.decodedSize);
    if (!DecodeBlock(plan, block.data.data())) {
        cache.pop_front();
        return false;
    }
    block.key = key;
    index[key] = cache.begin();
    view.data = block.data.data();
    return true;
}

bool TiffImageLoader::State::ReadWindow(const Window &win) {
    const uint32_t firstColumn = info.tiled ? grid.ColumnOf(win.x) : 0;
    const uint32_t lastColumn = info.tiled ? grid.ColumnOf(win.x + win.w - 1) : 0;
    SetCapacity(size_t{lastColumn - firstColumn + 1} * grid.Planes());
    const uint32_t lastBand = grid.BandOfRow(win.y + win.h - 1);
    for (uint32_t band = grid.BandOfRow(win.y); band <= lastBand; ++band) {
        if (!ReadBand(band, win))
            return false;
    }
    return true;
}

bool TiffImageLoader::State::CanDecodeDirect(uint32_t band, const Window &win, uint32_t top,
                                             uint32_t bottom) const {
    // Whole strips of full-width chunky rows decode straight into the output.
    return !info.tiled && grid.Planes() == 1 && win.x == 0 && win.w == info.width &&
           top == grid.BandTop(band) && bottom == grid.BandBottom(band) &&
           win.stride == grid.BlockRowBytes();
}

bool TiffImageLoader::State::ReadBand(uint32_t band, const Window &win) {
    const uint32_t top = std::max(grid.BandTop(band), win.y);
    const uint32_t bottom = std::min(grid.BandBottom(band), win.y + win.h);
    if (CanDecodeDirect(band, win, top, bottom)) {
        BlockPlan plan;
        if (!grid.Plan(reader, band, 0, 0, plan) ||
            !DecodeBlock(plan, win.out + size_t{top - win.y} * win.stride))
            return false;
    } else {
        const uint32_t firstColumn = grid.ColumnOf(win.x);
        const uint32_t lastColumn = info.tiled ? grid.ColumnOf(win.x + win.w - 1) : 0;
        for (uint32_t column = firstColumn; column <= lastColumn; ++column) {
            for (uint32_t plane = 0; plane < grid.Planes(); ++plane) {
                BlockView block;
                if (!GetBlock(band, column, plane, block))
                    return false;
                CopyPiece(block, band, column, plane, top, bottom, win);
            }
        }
    }
    ClearPadding(win, top, bottom);
    return true;
}

void TiffImageLoader::State::CopyPiece(const BlockView &block, uint32_t band, uint32_t column,
                                       uint32_t plane, uint32_t top, uint32_t bottom,
                                       const Window &win) const {
    const uint32_t blockLeft = info.tiled ? grid.ColumnLeft(column) : 0;
    const uint32_t left = std::max(blockLeft, win.x);
    const uint32_t right = static_cast<uint32_t>(
        std::min<uint64_t>(uint64_t{blockLeft} + info.chunkWidth, win.x + win.w));
    const uint64_t bits = info.bitsPerSample;
    const uint64_t pixelBits = info.BitsPerPixel();
    const uint64_t srcBitsPerPixel = grid.Planes() > 1 ? bits : pixelBits;
    uint64_t srcBit = (left - blockLeft) * srcBitsPerPixel;
    const uint64_t dstBit = (left - win.x) * pixelBits + (grid.Planes() > 1 ? plane * bits : 0);
    const bool byteAligned = bits % 8 == 0;
    const uint32_t blockTop = grid.BandTop(band);
    const unsigned char *data = block.data;
    size_t rowBytes = grid.BlockRowBytes();
    std::vector<unsigned char> zeros;
    if (block.sparse) { // every row reads one row of zeros as long as the piece
        zeros.assign((srcBit % 8 + (right - left) * srcBitsPerPixel + 7) / 8, 0);
        data = zeros.data();
        srcBit %= 8;
        rowBytes = 0;
    }
    for (uint32_t row = top; row < bottom; ++row) {
        const unsigned char *src = data + (row - blockTop) * rowBytes;
        unsigned char *dst = win.out + size_t{row - win.y} * win.stride;
        if (grid.Planes() == 1 && byteAligned)
            std::memcpy(dst + dstBit / 8, src + srcBit / 8, (right - left) * pixelBits / 8);
        else if (grid.Planes() == 1)
            CopyBits(src, srcBit, dst, dstBit, (right - left) * pixelBits);
        else if (byteAligned)
            SpreadSamples(src + srcBit / 8, dst + dstBit / 8, right - left,
                          static_cast<unsigned>(bits / 8), pixelBits / 8);
        else
            SpreadSampleBits(src, srcBit, dst, dstBit, right - left, static_cast<unsigned>(bits),
                             pixelBits);
    }
}

void TiffImageLoader::State::ClearPadding(const Window &win, uint32_t top, uint32_t bottom) const {
    const uint64_t usedBits = uint64_t{win.w} * info.BitsPerPixel();
    if (usedBits % 8 == 0)
        return;
    for (uint32_t row = top; row < bottom; ++row)
        ClearPadBits(win.out + size_t{row - win.y} * win.stride, usedBits);
}

TiffImageLoader::TiffImageLoader(CTiffReader &reader) : state_(std::make_unique<State>(reader)) {}

TiffImageLoader::~TiffImageLoader() = default;

bool TiffImageLoader::Open(unsigned image) {
    try {
        return state_->Select(image);
    } catch (const std::bad_alloc &) {
        state_->Reset();
        return state_->Fail(__LINE__, kTiffNoMemory);
    }
}

void TiffImageLoader::SetBlockDecoder(TiffBlockDecoder *decoder) { state_->blockDecoder = decoder; }

bool TiffImageLoader::IsOpen() const { return state_->open; }

const TiffImageInfo &TiffImageLoader::Info() const { return state_->info; }

bool TiffImageLoader::ReadWindow(uint32_t x, uint32_t y, uint32_t w, uint32_t h, unsigned char *out,
                                 size_t rowStride) {
    State &s = *state_;
    if (!s.open)
        return s.Fail(__LINE__, kTiffNotOpen);
    if (out == nullptr || x > s.info.width || w > s.info.width - x || y > s.info.height ||
        h > s.info.height - y)
        return s.Fail(__LINE__, kTiffNoNameOrBuffer);
    if (w == 0 || h == 0)
        return true;
    const uint64_t rowBytes = s.info.RowBytes(w);
    const size_t stride = rowStride == 0 ? static_cast<size_t>(rowBytes) : rowStride;
    if (stride < rowBytes)
        return s.Fail(__LINE__, kTiffNoNameOrBuffer);
    try {
        return s.ReadWindow(Window{x, y, w, h, out, stride});
    } catch (const std::bad_alloc &) {
        s.cache.clear();
        s.index.clear();
        return s.Fail(__LINE__, kTiffNoMemory);
    }
}

bool TiffImageLoader::ReadImage(unsigned char *out) {
    return ReadWindow(0, 0, state_->info.width, state_->info.height, out);
}

void TiffImageLoader::SetCacheLimit(size_t bytes) { state_->cacheLimit = bytes; }

uint64_t TiffImageLoader::ProducibleBytes() const {
    return IsOpen() ? state_->grid.ProducibleBytes(state_->reader) : 0;
}

} // namespace tiff
