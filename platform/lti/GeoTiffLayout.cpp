// Directory tags to image layout, with the checks that keep decoding bounded.
#include "GeoTiffLayout.h"

#include "GeoTiffValues.h"

#include "Subsystems/TiffImage/TiffRead.h"

#include <algorithm>
#include <string>

namespace LizardTech {
namespace {

enum Tag : uint16_t {
    kNewSubfileType = 254,
    kImageWidth = 256,
    kImageLength = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kStripOffsets = 273,
    kSamplesPerPixel = 277,
    kRowsPerStrip = 278,
    kStripByteCounts = 279,
    kPlanarConfig = 284,
    kPredictor = 317,
    kColorMap = 320,
    kTileWidth = 322,
    kTileLength = 323,
    kTileOffsets = 324,
    kTileByteCounts = 325,
    kInkSet = 332,
    kExtraSamples = 338,
    kSampleFormat = 339,
    kSMinSampleValue = 340,
    kSMaxSampleValue = 341,
};

// A decoded block larger than this is refused rather than allocated.
constexpr uint64_t kMaxBlockBytes = 256u << 20;
constexpr uint16_t kMaxSamples = 256;

LT_STATUS Unsupported(const std::string &why) {
    return setLastStatus(LTI_STS_UnsupportedImage, why);
}
LT_STATUS Corrupt(const std::string &why) { return setLastStatus(LTI_STS_CorruptImage, why); }

bool IsDecodable(uint16_t compression) {
    return compression == 1 || compression == 5 || compression == 8 || compression == 32773 ||
           compression == 32946;
}

std::vector<uint64_t> ReadArray(const tiff::TiffEntry *entry) {
    std::vector<uint64_t> values;
    if (entry == nullptr)
        return values;
    const uint64_t count = ReadableValueCount(entry);
    values.reserve(static_cast<size_t>(count));
    for (uint64_t i = 0; i < count; ++i)
        values.push_back(entry->GetUInt(i));
    return values;
}

bool SameValues(const tiff::TiffEntry *entry) {
    for (uint64_t i = 1; i < ReadableValueCount(entry); ++i)
        if (entry->GetUInt(i) != entry->GetUInt(0))
            return false;
    return true;
}

LT_STATUS ParseSamples(const tiff::TiffDirectory &dir, GeoTiffLayout &l) {
    l.samplesPerPixel = static_cast<uint16_t>(dir.GetUInt(kSamplesPerPixel, 1));
    l.bitsPerSample = static_cast<uint16_t>(dir.GetUInt(kBitsPerSample, 1));
    l.sampleFormat = static_cast<uint16_t>(dir.GetUInt(kSampleFormat, 1));
    if (l.samplesPerPixel == 0 || l.samplesPerPixel > kMaxSamples)
        return Unsupported("SamplesPerPixel " + std::to_string(l.samplesPerPixel));
    if (!SameValues(dir.Find(kBitsPerSample)) || !SameValues(dir.Find(kSampleFormat)))
        return Unsupported("samples of different sizes or formats");
    const uint16_t bits = l.bitsPerSample;
    const bool integer = l.sampleFormat == 1 || l.sampleFormat == 2;
    const bool subByte = (bits == 1 || bits == 2 || bits == 4) && l.sampleFormat == 1;
    const bool wholeInt = integer && (bits == 8 || bits == 16 || bits == 32);
    const bool floating = l.sampleFormat == 3 && (bits == 32 || bits == 64);
    if (!subByte && !wholeInt && !floating)
        return Unsupported(std::to_string(bits) + "-bit samples of SampleFormat " +
                           std::to_string(l.sampleFormat));
    return LT_STS_Success;
}

LT_STATUS ParseBlocks(const tiff::TiffDirectory &dir, GeoTiffLayout &l) {
    l.tiled = dir.Find(kTileWidth) != nullptr;
    if (l.tiled) {
        l.blockWidth = static_cast<uint32_t>(dir.GetUInt(kTileWidth, 0));
        l.blockHeight = static_cast<uint32_t>(dir.GetUInt(kTileLength, 0));
        if (l.blockWidth == 0 || l.blockHeight == 0)
            return Corrupt("zero tile size");
    } else {
        l.blockWidth = l.width;
        const uint64_t rows = dir.GetUInt(kRowsPerStrip, l.height);
        l.blockHeight = static_cast<uint32_t>(rows == 0 || rows > l.height ? l.height : rows);
    }
    l.blocksAcross = static_cast<uint32_t>((uint64_t{l.width} + l.blockWidth - 1) / l.blockWidth);
    l.blocksDown = static_cast<uint32_t>((uint64_t{l.height} + l.blockHeight - 1) / l.blockHeight);
    if (l.blockRowBytes() * l.blockHeight > kMaxBlockBytes)
        return Unsupported("strips or tiles larger than 256 MiB");
    const uint64_t blocks = uint64_t{l.blocksAcross} * l.blocksDown * l.planes();
    l.offsets = ReadArray(dir.Find(l.tiled ? kTileOffsets : kStripOffsets));
    if (l.offsets.size() < blocks) // the offsets come from the file: this bounds `blocks`
        return Corrupt("fewer strip or tile offsets than the image needs");
    l.byteCounts = ReadArray(dir.Find(l.tiled ? kTileByteCounts : kStripByteCounts));
    if (l.byteCounts.empty() && l.compression == 1) // uncompressed: the size is implied
        for (uint64_t i = 0; i < blocks; ++i)
            l.byteCounts.push_back(l.blockRowBytes() *
                                   l.rowsInBlock(static_cast<uint32_t>(i % l.blocksDown)));
    if (l.byteCounts.size() < blocks)
        return Corrupt("fewer strip or tile offsets than the image needs");
    return LT_STS_Success;
}

void ParseColour(const tiff::TiffDirectory &dir, GeoTiffLayout &l) {
    l.photometric =
        static_cast<uint16_t>(dir.GetUInt(kPhotometric, l.samplesPerPixel >= 3 ? 2 : 1));
    l.inkSet = static_cast<uint16_t>(dir.GetUInt(kInkSet, 1));
    for (uint64_t v : ReadArray(dir.Find(kExtraSamples)))
        l.extraSamples.push_back(static_cast<uint16_t>(v));
    for (uint64_t v : ReadArray(dir.Find(kColorMap)))
        l.colorMap.push_back(static_cast<uint16_t>(v));
    const tiff::TiffEntry *smin = dir.Find(kSMinSampleValue);
    const tiff::TiffEntry *smax = dir.Find(kSMaxSampleValue);
    if (smin && smax && smin->GetDouble(0) < smax->GetDouble(0)) {
        l.hasDeclaredRange = true;
        l.declaredMin = smin->GetDouble(0);
        l.declaredMax = smax->GetDouble(0);
    }
}

} // namespace

uint64_t GeoTiffLayout::blockRowBytes() const {
    return (uint64_t{blockWidth} * samplesPerBlock() * bitsPerSample + 7) / 8;
}

uint32_t GeoTiffLayout::rowsInBlock(uint32_t blockRow) const {
    if (tiled)
        return blockHeight; // tiles are always stored whole
    const uint64_t first = uint64_t{blockRow} * blockHeight;
    return first >= height ? 0
                           : static_cast<uint32_t>(std::min<uint64_t>(blockHeight, height - first));
}

LT_STATUS ParseGeoTiffLayout(const tiff::TiffDirectory &dir, GeoTiffLayout &l) {
    l = GeoTiffLayout{};
    l.width = static_cast<uint32_t>(dir.GetUInt(kImageWidth, 0));
    l.height = static_cast<uint32_t>(dir.GetUInt(kImageLength, 0));
    if (l.width == 0 || l.height == 0)
        return Corrupt("image without width or height");
    l.subfileType = static_cast<uint32_t>(dir.GetUInt(kNewSubfileType, 0));
    l.compression = static_cast<uint16_t>(dir.GetUInt(kCompression, 1));
    l.predictor = static_cast<uint16_t>(dir.GetUInt(kPredictor, 1));
    l.planarConfig = static_cast<uint16_t>(dir.GetUInt(kPlanarConfig, 1));
    if (!IsDecodable(l.compression))
        return Unsupported("Compression " + std::to_string(l.compression) +
                           " (only none, LZW, Deflate and PackBits are decoded)");
    if (l.planarConfig != 1 && l.planarConfig != 2)
        return Unsupported("PlanarConfiguration " + std::to_string(l.planarConfig));
    if (const LT_STATUS status = ParseSamples(dir, l))
        return status;
    ParseColour(dir, l);
    return ParseBlocks(dir, l);
}

} // namespace LizardTech
