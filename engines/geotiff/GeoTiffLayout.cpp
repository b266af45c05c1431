// Image description through the TIFF library, with the engine's own checks and extras.
#include "GeoTiffLayout.h"

#include "JpegBlockDecoder.h"

#include "Subsystems/TiffImage/TiffDecodeStrip.h"
#include "Subsystems/TiffImage/TiffTags.h"
#include "shr/Strings.h"

#include <string>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

namespace {

LT_STATUS Unsupported(const std::string &why) {
    return setLastStatus(LTI_STS_UnsupportedImage, why);
}

LT_STATUS CheckSamples(const tiff::TiffImageInfo &info) {
    const uint16_t bits = info.bitsPerSample;
    const bool integer =
        info.sampleFormat == tiff::kSampleUnsigned || info.sampleFormat == tiff::kSampleSigned;
    const bool subByte =
        (bits == 1 || bits == 2 || bits == 4) && info.sampleFormat == tiff::kSampleUnsigned;
    const bool wholeInt = integer && (bits == 8 || bits == 16 || bits == 32);
    const bool floating = info.sampleFormat == tiff::kSampleFloat && (bits == 32 || bits == 64);
    if (!subByte && !wholeInt && !floating)
        return Unsupported(std::to_string(bits) + "-bit samples of SampleFormat " +
                           std::to_string(info.sampleFormat));
    return LT_STS_Success;
}

} // namespace

LT_STATUS DescribeGeoTiffImage(tiff::CTiffReader &reader, unsigned directory,
                               GeoTiffLayout &layout) {
    layout = GeoTiffLayout{};
    layout.directory = directory;
    const tiff::TiffDirectory &dir = reader.Directories().at(directory);
    // Checked first so that the message names the compression.
    const uint64_t compression = dir.GetUInt(tiff::kTagCompression, 1);
    const bool jpeg = compression == kCompressionJpeg;
    if (!jpeg && !tiff::IsDecodableCompression(compression))
        return Unsupported("Compression " + std::to_string(compression) +
                           " (only none, LZW, Deflate, PackBits and JPEG are decoded)");
    if (!tiff::DescribeImage(reader, directory, layout.info)) {
        const bool unsupported = reader.Error().code == tiff::kTiffUnsupported;
        return setLastStatus(unsupported ? LTI_STS_UnsupportedImage : LTI_STS_CorruptImage,
                             "image layout: " + shr::WtoA(reader.Error().Describe()));
    }
    layout.inkSet = static_cast<uint16_t>(dir.GetUInt(tiff::kTagInkSet, 1));
    const tiff::TiffEntry *smin = dir.Find(tiff::kTagSMinSampleValue);
    const tiff::TiffEntry *smax = dir.Find(tiff::kTagSMaxSampleValue);
    if (tiff::HeldCount(smin) > 0 && tiff::HeldCount(smax) > 0 &&
        smin->GetDouble(0) < smax->GetDouble(0)) {
        layout.hasDeclaredRange = true;
        layout.declaredMin = smin->GetDouble(0);
        layout.declaredMax = smax->GetDouble(0);
    }
    if (jpeg) {
        const std::string problem = JpegLayoutProblem(layout.info);
        if (!problem.empty())
            return Unsupported(problem);
    }
    return CheckSamples(layout.info);
}

} // namespace engines::geotiff
