// The JPEG block decoder's codec-independent part: which layouts are read, and the checks made
// on every block before the build's codec sees it.
#include "JpegBlockDecoder.h"

#include "JpegCodec.h"

#include <cstdint>
#include <string>

namespace engines::geotiff {
namespace {

constexpr uint16_t kPhotometricWhiteIsZero = 0;
constexpr uint16_t kPhotometricBlackIsZero = 1;
constexpr uint16_t kPhotometricRGB = 2;
constexpr uint16_t kPhotometricYCbCr = 6;

class JpegBlockDecoder final : public tiff::TiffBlockDecoder {
public:
    JpegBlockDecoder(std::unique_ptr<JpegCodec> codec, int components)
        : codec_(std::move(codec)), components_(components) {}

    bool Handles(uint16_t compression) const override { return compression == kCompressionJpeg; }

    bool Decode(const unsigned char *stored, size_t storedSize, uint32_t width, uint32_t rows,
                unsigned char *out, size_t outSize) override {
        if (outSize != uint64_t{width} * rows * static_cast<uint64_t>(components_)) {
            reason_ = "a " + std::to_string(width) + " x " + std::to_string(rows) +
                      " JPEG block cannot fill " + std::to_string(outSize) + " bytes";
            return false;
        }
        std::string why;
        if (!codec_->Decode({stored, storedSize, width, rows, out}, why)) {
            reason_ = "JPEG block: " + why;
            return false;
        }
        reason_.clear();
        return true;
    }

    const std::string &Reason() const override { return reason_; }

private:
    std::unique_ptr<JpegCodec> codec_;
    int components_;
    std::string reason_;
};

} // namespace

std::string JpegLayoutProblem(const tiff::TiffImageInfo &info) {
    if (info.bitsPerSample != 8 || info.sampleFormat != tiff::kSampleUnsigned)
        return "JPEG with " + std::to_string(info.bitsPerSample) +
               "-bit samples (only 8-bit are decoded)";
    if (info.IsPlanar())
        return "JPEG with separate sample planes";
    const uint16_t p = info.photometric, spp = info.samplesPerPixel;
    // Grey and RGB (with extra samples such as alpha) are stored as they are.
    const bool plain =
        (p == kPhotometricWhiteIsZero || p == kPhotometricBlackIsZero || p == kPhotometricRGB) &&
        spp <= 4;
    const bool ycbcr = p == kPhotometricYCbCr && spp == 3;
    if (!plain && !ycbcr)
        return "JPEG with Photometric " + std::to_string(p) + " and " + std::to_string(spp) +
               " samples per pixel";
    return {};
}

std::string JpegShapeMismatch(uint32_t width, uint32_t height, int components,
                              const JpegBlock &block, int blockComponents) {
    return "the JPEG stream is " + std::to_string(width) + " x " + std::to_string(height) +
           " pixels of " + std::to_string(components) + " components, the block " +
           std::to_string(block.width) + " x " + std::to_string(block.rows) + " of " +
           std::to_string(blockComponents);
}

std::unique_ptr<tiff::TiffBlockDecoder> MakeJpegBlockDecoder(std::vector<unsigned char> tables,
                                                             const tiff::TiffImageInfo &info,
                                                             std::string &why) {
    why = JpegLayoutProblem(info);
    if (!why.empty())
        return nullptr;
    const int components = info.samplesPerPixel;
    return std::make_unique<JpegBlockDecoder>(
        MakeJpegCodec(std::move(tables), components, info.photometric == kPhotometricYCbCr),
        components);
}

} // namespace engines::geotiff
