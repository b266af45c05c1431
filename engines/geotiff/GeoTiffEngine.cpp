// The open GeoTIFF engine: levels from the reduced-resolution subfiles, colour and sample
// interpretation, and scene decoding by copying or averaging level pixels.
#include "GeoTiffEngine.h"

#include "GeoTiffAverage.h"
#include "GeoTiffGeo.h"
#include "GeoTiffLevels.h"
#include "GeoTiffRange.h"
#include "GeoTiffSource.h"
#include "JpegBlockDecoder.h"
#include "lti/LTIUtils.h"

#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffTags.h"
#include "shr/Strings.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <tuple>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

namespace {

constexpr size_t kLevelCacheBytes = 16u << 20; // decoded strips and tiles kept per level
constexpr uint32_t kPreviewSide = 512;         // reductions go on until the longer side fits this
constexpr uint32_t kMaxReduction = 1u << 30;
// A row may always claim this much; beyond it, only what the file's blocks can decode to.
constexpr uint64_t kRowAllowance = 1u << 20;
// JPEGTables larger than this are not tables.
constexpr uint64_t kMaxJpegTables = 1u << 20;

enum Photometric : uint16_t {
    kWhiteIsZero = 0,
    kBlackIsZero = 1,
    kRGB = 2,
    kPalette = 3,
    kSeparated = 5,
    kYCbCr = 6
};

LTIDataType DataTypeOf(const tiff::TiffImageInfo &l) {
    const uint16_t bits = l.bitsPerSample;
    if (l.sampleFormat == 3)
        return bits == 32 ? LTI_DATATYPE_FLOAT32 : LTI_DATATYPE_FLOAT64;
    const bool sign = l.sampleFormat == 2;
    if (bits <= 8)
        return sign ? LTI_DATATYPE_SINT8 : LTI_DATATYPE_UINT8;
    if (bits == 16)
        return sign ? LTI_DATATYPE_SINT16 : LTI_DATATYPE_UINT16;
    return sign ? LTI_DATATYPE_SINT32 : LTI_DATATYPE_UINT32;
}

bool HasAlphaExtra(const tiff::TiffImageInfo &info) {
    return !info.extraSamples.empty() && (info.extraSamples[0] == 1 || info.extraSamples[0] == 2);
}

// Colour space and delivered bands of an image; LTI_COLORSPACE_INVALID when unsupported.
LTIColorSpace ColorSpaceOf(const GeoTiffLayout &layout, uint16_t &bands) {
    const tiff::TiffImageInfo &l = layout.info;
    const uint16_t spp = l.samplesPerPixel;
    bands = spp;
    switch (l.photometric) {
    case kWhiteIsZero:
    case kBlackIsZero:
        if (spp == 1)
            return LTI_COLORSPACE_GRAYSCALE;
        return spp == 2 && HasAlphaExtra(l) ? LTI_COLORSPACE_GRAYSCALEA
                                            : LTI_COLORSPACE_MULTISPECTRAL;
    case kRGB:
        if (spp == 3)
            return LTI_COLORSPACE_RGB;
        if (spp == 4 && HasAlphaExtra(l))
            return LTI_COLORSPACE_RGBA;
        return spp > 3 ? LTI_COLORSPACE_MULTISPECTRAL : LTI_COLORSPACE_INVALID;
    case kPalette:
        bands = 3;
        return spp == 1 ? LTI_COLORSPACE_RGB : LTI_COLORSPACE_INVALID;
    case kSeparated:
        if (spp == 4 && layout.inkSet == 1)
            return LTI_COLORSPACE_CMYK;
        return spp > 4 ? LTI_COLORSPACE_MULTISPECTRAL : LTI_COLORSPACE_INVALID;
    case kYCbCr: // the JPEG codec delivers it as RGB
        return spp == 3 && l.compression == kCompressionJpeg ? LTI_COLORSPACE_RGB
                                                             : LTI_COLORSPACE_INVALID;
    default:
        return LTI_COLORSPACE_INVALID;
    }
}

// JPEG's YCbCr arrives as RGB.
uint16_t DeliveredPhotometric(const tiff::TiffImageInfo &info) {
    return info.photometric == kYCbCr && info.compression == kCompressionJpeg ? uint16_t{kRGB}
                                                                              : info.photometric;
}

// An overview belongs to the image when it has the same samples and a power-of-two size ratio.
uint32_t OverviewFactor(const GeoTiffLayout &baseLayout, const GeoTiffLayout &overview) {
    const tiff::TiffImageInfo &base = baseLayout.info, &o = overview.info;
    if (!overview.isReducedResolution() || overview.isMask() ||
        o.samplesPerPixel != base.samplesPerPixel || o.bitsPerSample != base.bitsPerSample ||
        o.sampleFormat != base.sampleFormat ||
        DeliveredPhotometric(o) != DeliveredPhotometric(base) || o.width >= base.width)
        return 0;
    const double ratio = static_cast<double>(base.width) / o.width;
    const auto f = static_cast<uint32_t>(std::lround(ratio));
    if (f < 2 || (f & (f - 1)) != 0 || f > kMaxReduction)
        return 0;
    const uint64_t expectW = (uint64_t{base.width} + f - 1) / f;
    const uint64_t expectH = (uint64_t{base.height} + f - 1) / f;
    const auto near = [](uint64_t a, uint64_t b) { return a + 1 >= b && b + 1 >= a; };
    return near(o.width, expectW) && near(o.height, expectH) ? f : 0;
}

class GeoTiffEngine final : public LTIImageEngine {
public:
    LT_STATUS initialize(LTIOStreamInf &stream) override;

protected:
    LT_STATUS decode(const Window &window, LTISceneBuffer &buffer) override;

private:
    LT_STATUS openFile(LTIOStreamInf &stream);
    LT_STATUS findLevels();
    LT_STATUS addLevel(uint32_t factor, GeoTiffLayout layout);
    LT_STATUS attachDecoder(GeoTiffLevel &level);
    void findMasks();
    bool useMasks(LTIColorSpace &colorSpace, uint16_t &bands, LTIDataType dataType);
    LT_STATUS describePixels(const GeoTiffLayout &base);
    void declareBandRanges();
    std::vector<BandRange> scanCoarsestLevel();
    double minimumMagnification() const;
    uint32_t levelFor(uint32_t reduction) const; // the coarsest level not above `reduction`

    tiff::CTiffReader reader_;
    std::vector<std::unique_ptr<GeoTiffLevel>> levels_; // finest first
    size_t baseDirectory_ = 0;
    GeoTiffPixelMap map_;
};

LT_STATUS GeoTiffEngine::openFile(LTIOStreamInf &stream) {
    // The stream's id is process-wide, not this file's name, so it is not used here.
    if (reader_.Open(MakeStreamTiffSource(stream), L"stream"))
        return LT_STS_Success;
    const int32_t code = reader_.Error().code;
    const std::string why = "TIFF structure: " + shr::WtoA(reader_.Error().Describe());
    return setLastStatus(
        code == tiff::kTiffReadFailed ? LTI_STS_StreamReadFailed : LTI_STS_CorruptImage, why);
}

LT_STATUS GeoTiffEngine::addLevel(uint32_t factor, GeoTiffLayout layout) {
    auto level = std::make_unique<GeoTiffLevel>();
    level->factor = factor;
    level->layout = std::move(layout);
    level->loader = std::make_unique<tiff::TiffImageLoader>(reader_);
    if (const LT_STATUS status = attachDecoder(*level))
        return status;
    if (!level->loader->Open(level->layout.directory))
        return setLastStatus(LTI_STS_UnsupportedImage,
                             "image layout: " + shr::WtoA(reader_.Error().Describe()));
    level->loader->SetCacheLimit(kLevelCacheBytes);
    levels_.push_back(std::move(level));
    return LT_STS_Success;
}

LT_STATUS GeoTiffEngine::attachDecoder(GeoTiffLevel &level) {
    if (level.layout.info.compression != kCompressionJpeg)
        return LT_STS_Success;
    const tiff::TiffEntry *entry =
        reader_.Directories()[level.layout.directory].Find(tiff::kTagJpegTables);
    std::vector<unsigned char> tables;
    if (entry != nullptr && entry->count != 0) {
        if (entry->DataSize() > kMaxJpegTables)
            return setLastStatus(LTI_STS_CorruptImage,
                                 "JPEGTables of " + std::to_string(entry->DataSize()) + " bytes");
        tables.resize(static_cast<size_t>(entry->DataSize()));
        if (entry->Data() != nullptr && entry->HeldCount() == entry->count)
            std::copy_n(entry->Data(), tables.size(), tables.begin());
        else if (!reader_.ReadEntryValues(*entry, tables.data()))
            return setLastStatus(LTI_STS_CorruptImage,
                                 "JPEGTables: " + shr::WtoA(reader_.Error().Describe()));
    }
    std::string why;
    level.decoder = MakeJpegBlockDecoder(std::move(tables), level.layout.info, why);
    if (level.decoder == nullptr)
        return setLastStatus(LTI_STS_UnsupportedImage, why);
    level.loader->SetBlockDecoder(level.decoder.get());
    return LT_STS_Success;
}

// Bilevel transparency masks (NewSubfileType bit 4), one per level, matched by size: the
// full-resolution mask to the base, reduced ones to the overviews.
void GeoTiffEngine::findMasks() {
    const auto all = static_cast<unsigned>(reader_.Directories().size());
    for (unsigned i = 0; i < all; ++i) {
        GeoTiffLayout mask;
        if (DescribeGeoTiffImage(reader_, i, mask) != LT_STS_Success || !mask.isMask() ||
            mask.info.samplesPerPixel != 1 || mask.info.bitsPerSample != 1)
            continue;
        for (auto &level : levels_) {
            const tiff::TiffImageInfo &l = level->layout.info;
            if (level->mask != nullptr || l.width != mask.info.width ||
                l.height != mask.info.height || (level->factor == 1) == mask.isReducedResolution())
                continue;
            auto loader = std::make_unique<tiff::TiffImageLoader>(reader_);
            if (loader->Open(i)) {
                loader->SetCacheLimit(kLevelCacheBytes);
                level->mask = std::move(loader);
            }
            break;
        }
    }
}

// A mask on the full image becomes an alpha band; overviews without their own mask are then
// no longer levels. Masks are used with unsigned integer samples of grey or RGB only.
bool GeoTiffEngine::useMasks(LTIColorSpace &colorSpace, uint16_t &bands, LTIDataType dataType) {
    const bool usable =
        levels_.front()->mask != nullptr &&
        (dataType == LTI_DATATYPE_UINT8 || dataType == LTI_DATATYPE_UINT16) &&
        (colorSpace == LTI_COLORSPACE_GRAYSCALE || colorSpace == LTI_COLORSPACE_RGB);
    if (!usable) {
        for (auto &level : levels_)
            level->mask.reset();
        return false;
    }
    std::erase_if(levels_, [](const auto &level) { return level->mask == nullptr; });
    colorSpace = colorSpace == LTI_COLORSPACE_RGB ? LTI_COLORSPACE_RGBA : LTI_COLORSPACE_GRAYSCALEA;
    ++bands;
    return true;
}

// The first full-resolution image is the base; reduced-resolution images of the same samples
// at power-of-two sizes, in the main chain or among the base's SubIFDs, are its levels (one per
// factor, the first found).
LT_STATUS GeoTiffEngine::findLevels() {
    const auto count = static_cast<unsigned>(reader_.Directories().size());
    GeoTiffLayout layout;
    unsigned base = count;
    for (unsigned i = 0; i < count && base == count; ++i) {
        const LT_STATUS status = DescribeGeoTiffImage(reader_, i, layout);
        if (status != LT_STS_Success && i == 0)
            return status; // the first image is the one the file is about
        if (status == LT_STS_Success && !layout.isReducedResolution() && !layout.isMask())
            base = i;
    }
    if (base == count)
        return setLastStatus(LTI_STS_UnsupportedImage, "no full-resolution image in the file");
    baseDirectory_ = base;
    const GeoTiffLayout baseLayout = layout;
    if (const LT_STATUS status = addLevel(1, baseLayout))
        return status;
    // Overviews may also hang off the image as SubIFDs; those that cannot be read are not
    // offered, and the image still opens.
    if (!reader_.ReadSubDirectories(base))
        reader_.SetError(L"", 0, 0);
    const auto all = static_cast<unsigned>(reader_.Directories().size());
    for (unsigned i = 0; i < all; ++i) {
        GeoTiffLayout overview;
        if (i == base || DescribeGeoTiffImage(reader_, i, overview) != LT_STS_Success)
            continue;
        const uint32_t f = OverviewFactor(baseLayout, overview);
        const bool known = std::any_of(levels_.begin(), levels_.end(),
                                       [f](const auto &level) { return level->factor == f; });
        if (f != 0 && !known && addLevel(f, std::move(overview)) != LT_STS_Success)
            continue; // an overview the loader refuses is simply not offered
    }
    std::sort(levels_.begin(), levels_.end(),
              [](const auto &a, const auto &b) { return a->factor < b->factor; });
    findMasks();
    return LT_STS_Success;
}

LT_STATUS GeoTiffEngine::describePixels(const GeoTiffLayout &layout) {
    const tiff::TiffImageInfo &base = layout.info;
    uint16_t bands = 0;
    LTIColorSpace colorSpace = ColorSpaceOf(layout, bands);
    if (colorSpace == LTI_COLORSPACE_INVALID)
        return setLastStatus(LTI_STS_UnsupportedImage,
                             "Photometric " + std::to_string(base.photometric) + " with " +
                                 std::to_string(base.samplesPerPixel) + " samples per pixel");
    LTIDataType dataType = DataTypeOf(base);
    map_.bands = bands;
    map_.palette = base.photometric == kPalette;
    if (map_.palette) {
        if (base.bitsPerSample > 16 || base.sampleFormat != tiff::kSampleUnsigned ||
            base.colormap.size() != 3 * (size_t{1} << base.bitsPerSample))
            return setLastStatus(LTI_STS_CorruptImage, "palette image without a matching ColorMap");
        dataType = LTI_DATATYPE_UINT16;
    }
    map_.maskAlpha = useMasks(colorSpace, bands, dataType);
    map_.bands = bands;
    map_.opaque = LTIUtils::getTypeMax(dataType);
    const bool subByte = base.bitsPerSample < 8 && !map_.palette;
    const double bitMax =
        subByte ? double((1u << base.bitsPerSample) - 1) : LTIUtils::getTypeMax(dataType);
    map_.invert = base.photometric == kWhiteIsZero && base.sampleFormat == tiff::kSampleUnsigned;
    map_.invertFrom = bitMax;
    const LTIPixel pixel(colorSpace, bands, dataType);
    // Readers size their strips by the row: a shape no file of this size could fill is
    // refused before anyone sets memory aside for it.
    const uint64_t rowBytes = uint64_t{base.width} * bands * pixel.getNumBytesPerSample();
    const uint64_t producible = levels_.front()->loader->ProducibleBytes();
    if (rowBytes > std::max(kRowAllowance, producible))
        return setLastStatus(LTI_STS_CorruptImage,
                             "a row of " + std::to_string(base.width) + " pixels needs " +
                                 std::to_string(rowBytes) + " bytes, more than the " +
                                 std::to_string(producible) +
                                 " bytes the image's strips or tiles can decode to");
    if (const LT_STATUS status =
            setImageProps(base.width, base.height, pixel, minimumMagnification()))
        return status;
    if (layout.hasDeclaredRange)
        setDynamicRange(layout.declaredMin, layout.declaredMax);
    else if (subByte)
        setDynamicRange(0.0, bitMax);
    else if (!map_.palette && base.bitsPerSample > 8)
        declareBandRanges();
    return LT_STS_Success;
}

// Samples wider than a byte rarely fill their type: each band gets the statistics the file
// carries, or else the extent of its samples in the coarsest level. Alpha keeps the type's
// range, so that opaque stays opaque.
void GeoTiffEngine::declareBandRanges() {
    const tiff::TiffDirectory &dir = reader_.Directories()[baseDirectory_];
    const tiff::TiffEntry *xml = dir.Find(tiff::kTagGdalMetadata);
    std::vector<BandRange> ranges = ParseGdalStatistics(xml ? xml->GetAscii() : "", getNumBands());
    const auto known = [](const BandRange &r) { return r.known; };
    if (!std::all_of(ranges.begin(), ranges.end(), known)) {
        const std::vector<BandRange> scanned = scanCoarsestLevel();
        for (size_t b = 0; b < ranges.size(); ++b)
            if (!ranges[b].known)
                ranges[b] = scanned[b];
    }
    const bool alpha = LTIUtils::hasAlphaBand(getColorSpace());
    for (uint16_t b = 0; b < getNumBands(); ++b) {
        if (!ranges[b].known || (alpha && b + 1 == getNumBands()))
            continue;
        double lo = ranges[b].min, hi = ranges[b].max;
        if (map_.invert) // statistics describe stored values; WhiteIsZero delivers them inverted
            std::tie(lo, hi) = std::pair(map_.invertFrom - hi, map_.invertFrom - lo);
        setDynamicRange(b, lo, hi);
    }
}

// The coarsest level's samples, with GDAL's nodata value as the delivered samples hold it.
std::vector<BandRange> GeoTiffEngine::scanCoarsestLevel() {
    std::optional<double> nodata;
    if (const tiff::TiffEntry *tag =
            reader_.Directories()[baseDirectory_].Find(tiff::kTagGdalNoData))
        nodata = ParseGdalNoData(tag->GetAscii());
    if (nodata && getDataType() == LTI_DATATYPE_FLOAT32)
        nodata = static_cast<float>(*nodata);
    if (nodata && map_.invert)
        nodata = map_.invertFrom - *nodata;
    GeoTiffLevelReader reader(*levels_.back(), reader_, map_);
    return ScanLevelRanges(reader, getPixelProps(), nodata);
}

double GeoTiffEngine::minimumMagnification() const {
    const tiff::TiffImageInfo &base = levels_.front()->layout.info;
    const uint32_t longer = std::max(base.width, base.height);
    uint32_t fit = 1;
    while (fit < kMaxReduction && (longer + fit - 1) / fit > kPreviewSide)
        fit *= 2;
    return 1.0 / std::max(levels_.back()->factor, fit);
}

LT_STATUS GeoTiffEngine::initialize(LTIOStreamInf &stream) {
    if (const LT_STATUS status = openFile(stream))
        return status;
    if (const LT_STATUS status = findLevels())
        return status;
    if (const LT_STATUS status = describePixels(levels_.front()->layout))
        return status;
    const tiff::TiffDirectory &dir = reader_.Directories()[baseDirectory_];
    const bool pixelIsPoint = AddGeoKeyRecords(dir, metadata());
    LTIGeoCoord geo;
    if (GeoCoordFromTags(dir, pixelIsPoint, geo))
        setGeoCoord(geo);
    return LT_STS_Success;
}

uint32_t GeoTiffEngine::levelFor(uint32_t reduction) const {
    uint32_t index = 0;
    for (uint32_t i = 0; i < levels_.size(); ++i)
        if (levels_[i]->factor <= reduction)
            index = i;
    return index;
}

LT_STATUS GeoTiffEngine::decode(const Window &window, LTISceneBuffer &buffer) {
    const uint32_t index = levelFor(window.reduction);
    const uint32_t k = window.reduction / levels_[index]->factor;
    GeoTiffLevelReader reader(*levels_[index], reader_, map_);
    try {
        if (k == 1)
            return reader.readRect(window.x, window.y, window.width, window.height, buffer);
        return ReadAveraged(reader, {window.x, window.y, window.width, window.height, k}, buffer);
    } catch (const std::bad_alloc &) {
        // Working rows are bounded, but a single row of a very wide image may still not fit.
        return setLastStatus(LT_STS_OutOfMemory, "no memory for the rows of a " +
                                                     std::to_string(window.width) +
                                                     "-pixel-wide scene");
    }
}

} // namespace

std::unique_ptr<LTIImageEngine> MakeGeoTiffEngine() { return std::make_unique<GeoTiffEngine>(); }

} // namespace engines::geotiff
