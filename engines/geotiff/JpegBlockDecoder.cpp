// JPEG blocks through libjpeg-turbo: the shared tables are read first, then the block's
// abbreviated stream; YCbCr is converted to RGB by the codec, as libtiff's RGB colour mode does.
#include "JpegBlockDecoder.h"

#include <cstdint>
#include <string>

#if IOSID_HAVE_JPEG
#include <csetjmp>
#include <cstddef>
#include <cstdio> // jpeglib.h needs FILE

#include <jpeglib.h>
#endif

namespace engines::geotiff {
namespace {

constexpr uint16_t kPhotometricWhiteIsZero = 0;
constexpr uint16_t kPhotometricBlackIsZero = 1;
constexpr uint16_t kPhotometricRGB = 2;
constexpr uint16_t kPhotometricYCbCr = 6;

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

#if IOSID_HAVE_JPEG

namespace {

// Progressive streams are allowed, but not endless series of scans over the same block.
constexpr int kMaxScans = 128;

struct ErrorManager {
    jpeg_error_mgr pub;
    jpeg_progress_mgr progress;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

[[noreturn]] void ErrorExit(j_common_ptr cinfo) {
    auto *err = reinterpret_cast<ErrorManager *>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, err->message);
    std::longjmp(err->jump, 1);
}

// Warnings (a truncated block filled with grey, say) are not failures, as for libtiff.
void IgnoreMessage(j_common_ptr, int) {}

void LimitScans(j_common_ptr cinfo) {
    auto *d = reinterpret_cast<j_decompress_ptr>(cinfo);
    if (cinfo->is_decompressor && d->input_scan_number > kMaxScans) {
        auto *err = reinterpret_cast<ErrorManager *>(cinfo->err);
        std::snprintf(err->message, sizeof err->message, "more than %d scans", kMaxScans);
        std::longjmp(err->jump, 1);
    }
}

struct Request {
    const unsigned char *tables;
    size_t tablesSize;
    const unsigned char *stored;
    size_t storedSize;
    uint32_t width, rows;
    int components;
    J_COLOR_SPACE in, out;
    unsigned char *dest;
};

// Decodes one block; false with `err.message` set. No object with a destructor lives here, so
// that the error manager may jump out of libjpeg to the setjmp below.
bool DecodeStream(jpeg_decompress_struct &cinfo, ErrorManager &err, const Request &r) {
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    jpeg_create_decompress(&cinfo);
    err.progress.progress_monitor = LimitScans;
    cinfo.progress = &err.progress;
    if (r.tablesSize != 0) {
        jpeg_mem_src(&cinfo, r.tables, static_cast<unsigned long>(r.tablesSize));
        if (jpeg_read_header(&cinfo, FALSE) != JPEG_HEADER_TABLES_ONLY) {
            std::snprintf(err.message, sizeof err.message, "JPEGTables holds more than tables");
            std::longjmp(err.jump, 1);
        }
    }
    jpeg_mem_src(&cinfo, r.stored, static_cast<unsigned long>(r.storedSize));
    jpeg_read_header(&cinfo, TRUE);
    if (cinfo.image_width != r.width || cinfo.image_height != r.rows ||
        cinfo.num_components != r.components) {
        std::snprintf(err.message, sizeof err.message,
                      "the JPEG stream is %u x %u pixels of %d components, the block %u x %u of %d",
                      cinfo.image_width, cinfo.image_height, cinfo.num_components, r.width, r.rows,
                      r.components);
        std::longjmp(err.jump, 1);
    }
    cinfo.jpeg_color_space = r.in;
    cinfo.out_color_space = r.out;
    jpeg_start_decompress(&cinfo);
    const size_t stride = size_t{r.width} * static_cast<size_t>(r.components);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW rows[16];
        const JDIMENSION first = cinfo.output_scanline;
        JDIMENSION n = 0;
        for (; n < 16 && first + n < cinfo.output_height; ++n)
            rows[n] = r.dest + (first + n) * stride;
        if (jpeg_read_scanlines(&cinfo, rows, n) == 0) {
            std::snprintf(err.message, sizeof err.message, "no rows after row %u", first);
            std::longjmp(err.jump, 1);
        }
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return true;
}

class JpegBlockDecoder final : public tiff::TiffBlockDecoder {
public:
    JpegBlockDecoder(std::vector<unsigned char> tables, const tiff::TiffImageInfo &info)
        : tables_(std::move(tables)), components_(info.samplesPerPixel) {
        // Components other than YCbCr are left as stored, as libtiff does.
        const bool ycbcr = info.photometric == kPhotometricYCbCr;
        in_ = ycbcr ? JCS_YCbCr : JCS_UNKNOWN;
        out_ = ycbcr ? JCS_RGB : JCS_UNKNOWN;
    }

    bool Handles(uint16_t compression) const override { return compression == kCompressionJpeg; }

    bool Decode(const unsigned char *stored, size_t storedSize, uint32_t width, uint32_t rows,
                unsigned char *out, size_t outSize) override {
        if (outSize != uint64_t{width} * rows * static_cast<uint64_t>(components_)) {
            reason_ = "a " + std::to_string(width) + " x " + std::to_string(rows) +
                      " JPEG block cannot fill " + std::to_string(outSize) + " bytes";
            return false;
        }
        jpeg_decompress_struct cinfo{};
        ErrorManager err{};
        cinfo.err = jpeg_std_error(&err.pub);
        err.pub.error_exit = ErrorExit;
        err.pub.emit_message = IgnoreMessage;
        const Request request{tables_.data(), tables_.size(), stored, storedSize, width,
                              rows,           components_,    in_,    out_,       out};
        if (DecodeStream(cinfo, err, request)) {
            reason_.clear();
            return true;
        }
        reason_ = std::string("JPEG block: ") + err.message;
        return false;
    }

    const std::string &Reason() const override { return reason_; }

private:
    std::vector<unsigned char> tables_;
    int components_;
    J_COLOR_SPACE in_ = JCS_UNKNOWN, out_ = JCS_UNKNOWN;
    std::string reason_;
};

} // namespace

bool HaveJpegDecoder() { return true; }

std::unique_ptr<tiff::TiffBlockDecoder> MakeJpegBlockDecoder(std::vector<unsigned char> tables,
                                                             const tiff::TiffImageInfo &info,
                                                             std::string &why) {
    why = JpegLayoutProblem(info);
    if (!why.empty())
        return nullptr;
    return std::make_unique<JpegBlockDecoder>(std::move(tables), info);
}

#else

bool HaveJpegDecoder() { return false; }

std::unique_ptr<tiff::TiffBlockDecoder>
MakeJpegBlockDecoder(std::vector<unsigned char>, const tiff::TiffImageInfo &, std::string &why) {
    why = "Compression 7 (JPEG): this build has no JPEG decoder";
    return nullptr;
}

#endif

} // namespace engines::geotiff
