// JPEG blocks through libjpeg-turbo: the shared tables are read first, then the block's
// abbreviated stream; YCbCr is converted to RGB by the codec, as libtiff's RGB colour mode does.
#include "JpegCodec.h"

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio> // jpeglib.h needs FILE
#include <string>

#include <jpeglib.h>

namespace engines::geotiff {
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
        // The message's temporary is gone before the jump.
        std::snprintf(err.message, sizeof err.message, "%s",
                      JpegShapeMismatch(cinfo.image_width, cinfo.image_height,
                                        cinfo.num_components, {nullptr, 0, r.width, r.rows, nullptr},
                                        r.components)
                          .c_str());
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

class TurboCodec final : public JpegCodec {
public:
    TurboCodec(std::vector<unsigned char> tables, int components, bool ycbcr)
        : tables_(std::move(tables)), components_(components),
          // Components other than YCbCr are left as stored, as libtiff does.
          in_(ycbcr ? JCS_YCbCr : JCS_UNKNOWN), out_(ycbcr ? JCS_RGB : JCS_UNKNOWN) {}

    bool Decode(const JpegBlock &block, std::string &why) override {
        jpeg_decompress_struct cinfo{};
        ErrorManager err{};
        cinfo.err = jpeg_std_error(&err.pub);
        err.pub.error_exit = ErrorExit;
        err.pub.emit_message = IgnoreMessage;
        const Request request{tables_.data(), tables_.size(), block.stored, block.storedSize,
                              block.width,    block.rows,     components_,  in_,
                              out_,           block.out};
        if (DecodeStream(cinfo, err, request))
            return true;
        why = err.message;
        return false;
    }

private:
    std::vector<unsigned char> tables_;
    int components_;
    J_COLOR_SPACE in_, out_;
};

} // namespace

std::unique_ptr<JpegCodec> MakeJpegCodec(std::vector<unsigned char> tables, int components,
                                         bool ycbcr) {
    return std::make_unique<TurboCodec>(std::move(tables), components, ycbcr);
}

} // namespace engines::geotiff
