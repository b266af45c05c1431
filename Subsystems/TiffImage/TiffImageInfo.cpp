// The layout of one directory's image, read from its tags and checked.
#include "TiffImageLoad.h"
#include "TiffTags.h"

namespace tiff {
namespace {

const wchar_t kSourceFile[] = L"Subsystems/TiffImage/TiffImageInfo";

constexpr uint32_t kMaxBitsPerSample = 64;
constexpr uint16_t kPhotometricYCbCr = 6;
constexpr uint64_t kCompressionJpegOld = 6;
constexpr uint64_t kCompressionJpeg = 7;

bool Fail(CTiffReader &reader, int line, int32_t code) {
    reader.SetError(kSourceFile, line, code);
    return false;
}

// All values of an entry as 16-bit numbers.
std::vector<uint16_t> ShortValues(const TiffEntry *entry) {
    std::vector<uint16_t> values;
    if (entry == nullptr)
        return values;
    const uint64_t held = entry->HeldCount();
    values.reserve(static_cast<size_t>(held));
    for (uint64_t i = 0; i < held; ++i)
        values.push_back(static_cast<uint16_t>(entry->GetUInt(i)));
    return values;
}

uint32_t SubfileBits(const TiffDirectory &dir) {
    if (dir.Find(kTagNewSubfileType) != nullptr)
        return static_cast<uint32_t>(dir.GetUInt(kTagNewSubfileType, 0));
    // The old SubfileType: 2 reduced resolution, 3 a page of many.
    switch (dir.GetUInt(kTagSubfileType, 1)) {
    case 2:
        return kSubfileReduced;
    case 3:
        return kSubfilePage;
    default:
        return 0;
    }
}

bool ReadSampleLayout(CTiffReader &reader, const TiffDirectory &dir, TiffImageInfo &info) {
    const uint64_t samples = dir.GetUInt(kTagSamplesPerPixel, 1);
    if (samples == 0 || samples > 0xFFFF)
        return Fail(reader, __LINE__, kTiffBadFormat);
    info.samplesPerPixel = static_cast<uint16_t>(samples);
    const uint64_t bits = dir.GetUInt(kTagBitsPerSample, 1);
    if (bits == 0 || bits > kMaxBitsPerSample)
        return Fail(reader, __LINE__, kTiffBadFormat);
    info.bitsPerSample = static_cast<uint16_t>(bits);
    // Samples of different widths in one pixel are not read.
    if (const TiffEntry *e = dir.Find(kTagBitsPerSample)) {
        for (uint64_t i = 1; i < e->count && i < samples; ++i) {
            if (e->GetUInt(i) != bits)
                return Fail(reader, __LINE__, kTiffUnsupported);
        }
    }
    info.sampleFormat = static_cast<uint16_t>(dir.GetUInt(kTagSampleFormat, kSampleUnsigned));
    const uint64_t planar = dir.GetUInt(kTagPlanarConfiguration, kPlanarChunky);
    if (planar != kPlanarChunky && planar != kPlanarSeparate)
        return Fail(reader, __LINE__, kTiffBadFormat);
    info.planarConfig = static_cast<uint16_t>(planar);
    return true;
}

bool ReadChunkLayout(CTiffReader &reader, const TiffDirectory &dir, TiffImageInfo &info) {
    const TiffEntry *tileWidth = dir.Find(kTagTileWidth);
    const TiffEntry *tileLength = dir.Find(kTagTileLength);
    if ((tileWidth == nullptr) != (tileLength == nullptr))
        return Fail(reader, __LINE__, kTiffBadFormat);
    info.tiled = tileWidth != nullptr;
    if (info.tiled) {
        const uint64_t w = tileWidth->GetUInt(0);
        const uint64_t h = tileLength->GetUInt(0);
        if (w == 0 || h == 0 || w > 0xFFFFFFFF || h > 0xFFFFFFFF)
            return Fail(reader, __LINE__, kTiffBadFormat);
        info.chunkWidth = static_cast<uint32_t>(w);
        info.chunkHeight = static_cast<uint32_t>(h);
        return true;
    }
    const uint64_t rows = dir.GetUInt(kTagRowsPerStrip, 0xFFFFFFFF);
    if (rows == 0)
        return Fail(reader, __LINE__, kTiffBadFormat);
    info.chunkWidth = info.width;
    info.chunkHeight = static_cast<uint32_t>(rows < info.height ? rows : info.height);
    return true;
}

bool ReadColorLayout(CTiffReader &reader, const TiffDirectory &dir, TiffImageInfo &info) {
    info.photometric = static_cast<uint16_t>(dir.GetUInt(kTagPhotometric, 1));
    info.extraSamples = ShortValues(dir.Find(kTagExtraSamples));
    const TiffEntry *colormap = dir.Find(kTagColorMap);
    if (colormap != nullptr && info.bitsPerSample <= 16 &&
        colormap->count == (uint64_t{3} << info.bitsPerSample))
        info.colormap = ShortValues(colormap);
    // Subsampled YCbCr outside JPEG stores its chroma in blocks, which is not read here.
    if (info.photometric == kPhotometricYCbCr && info.compression != kCompressionJpeg &&
        info.compression != kCompressionJpegOld) {
        const TiffEntry *sub = dir.Find(kTagYCbCrSubsampling);
        const uint64_t h = sub ? sub->GetUInt(0) : 2;
        const uint64_t v = sub && sub->count > 1 ? sub->GetUInt(1) : 2;
        if (h != 1 || v != 1)
            return Fail(reader, __LINE__, kTiffUnsupported);
    }
    return true;
}

} // namespace

uint32_t TiffImageInfo::ChunksAcross() const {
    return chunkWidth == 0 ? 0
                           : static_cast<uint32_t>((uint64_t{width} + chunkWidth - 1) / chunkWidth);
}

uint32_t TiffImageInfo::ChunksDown() const {
    return chunkHeight == 0
               ? 0
               : static_cast<uint32_t>((uint64_t{height} + chunkHeight - 1) / chunkHeight);
}

bool DescribeImage(CTiffReader &reader, unsigned image, TiffImageInfo &info) {
    info = TiffImageInfo{};
    if (image >= reader.Directories().size())
        return Fail(reader, __LINE__, kTiffNoNameOrBuffer);
    const TiffDirectory &dir = reader.Directories()[image];
    const uint64_t width = dir.GetUInt(kTagImageWidth, 0);
    const uint64_t height = dir.GetUInt(kTagImageLength, 0);
    if (width == 0 || height == 0 || width > 0xFFFFFFFF || height > 0xFFFFFFFF)
        return Fail(reader, __LINE__, kTiffBadFormat);
    info.width = static_cast<uint32_t>(width);
    info.height = static_cast<uint32_t>(height);
    const uint64_t compression = dir.GetUInt(kTagCompression, 1);
    info.compression = static_cast<uint16_t>(compression > 0xFFFF ? 0 : compression);
    info.predictor = static_cast<uint16_t>(dir.GetUInt(kTagPredictor, 1) & 0xFF);
    info.fillOrder = static_cast<uint16_t>(dir.GetUInt(kTagFillOrder, 1));
    info.subfileType = SubfileBits(dir);
    return ReadSampleLayout(reader, dir, info) && ReadChunkLayout(reader, dir, info) &&
           ReadColorLayout(reader, dir, info);
}

} // namespace tiff
