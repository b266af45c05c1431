// .png output through libpng, row by row; PNG carries no georeferencing.
#include "ReplacedFile.h"
#include "RowLayout.h"
#include "Writers.h"

#include <png.h>

#include <csetjmp>
#include <stdexcept>
#include <vector>

namespace iosid::host {
namespace {

// libpng reports errors through a callback that must not return; it jumps back to the call
// that failed, which then throws with the kept text. No C++ object with a destructor lives
// between the setjmp and the libpng call.
void KeepPngError(png_structp png, png_const_charp message) {
    auto *text = static_cast<std::string *>(png_get_error_ptr(png));
    *text = message ? message : "libpng error";
    png_longjmp(png, 1);
}

void IgnorePngWarning(png_structp, png_const_charp) {}

class PngWriter final : public ImageWriter {
public:
    PngWriter(const std::filesystem::path &path, uint32_t width, uint32_t height, RowFormat format)
        : file_(path), rows_(path, height), width_(width), format_(format),
          row_(SampleRowBytes(format, width)) {
        png_ =
            png_create_write_struct(PNG_LIBPNG_VER_STRING, &error_, KeepPngError, IgnorePngWarning);
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_)
            Fail("cannot start libpng");
        if (!Start(width, height))
            Fail("cannot write the PNG header");
    }

    ~PngWriter() override { png_destroy_write_struct(&png_, &info_); }

    void WriteRow(uint32_t row, const uint8_t *data) override {
        rows_.Accept(row);
        ConvertRow(format_, width_, data, row_.data());
        if (!WriteConverted())
            Fail("cannot write row " + std::to_string(row));
    }

    void Commit() override {
        rows_.CheckComplete();
        if (!Finish())
            Fail("cannot finish the PNG file");
        file_.Commit();
    }

private:
    [[noreturn]] void Fail(const std::string &what) const {
        throw std::runtime_error(PathToUtf8(file_.Destination()) + ": " + what +
                                 (error_.empty() ? "" : " (" + error_ + ")"));
    }

    bool Start(uint32_t width, uint32_t height) {
        const SampleLayout layout = LayoutOf(format_);
        const int type = layout.samplesPerPixel == 1   ? PNG_COLOR_TYPE_GRAY
                         : layout.samplesPerPixel == 3 ? PNG_COLOR_TYPE_RGB
                                                       : PNG_COLOR_TYPE_RGB_ALPHA;
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_init_io(png_, file_.Stream());
        png_set_IHDR(png_, info_, width, height, layout.bitsPerSample, type, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_compression_level(png_, 6);
        png_write_info(png_, info_);
        return true;
    }

    bool WriteConverted() {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_write_row(png_, row_.data());
        return true;
    }

    bool Finish() {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_write_end(png_, info_);
        return true;
    }

    ReplacedFile file_;
    RowSequence rows_;
    uint32_t width_;
    RowFormat format_;
    std::vector<uint8_t> row_;
    std::string error_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

} // namespace

std::unique_ptr<ImageWriter> CreatePngWriter(const std::filesystem::path &path, uint32_t width,
                                             uint32_t height, RowFormat format) {
    return std::make_unique<PngWriter>(path, width, height, format);
}

} // namespace iosid::host
