// Writing benchmark images and decoding them with libtiff.
#include "LibtiffSide.h"

#include <tiffio.h>

#include <algorithm>
#include <memory>

namespace bench {
namespace {

struct TiffCloser {
    void operator()(TIFF *t) const { TIFFClose(t); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

void Quiet(const char *, const char *, va_list) {}

TiffHandle Open(const std::string &path, const char *mode, std::string &message) {
    TIFFSetWarningHandler(Quiet);
    TiffHandle t(TIFFOpen(path.c_str(), mode));
    if (!t)
        message = "libtiff cannot open " + path;
    return t;
}

} // namespace

bool WriteWithLibtiff(const std::string &path, const ImageLayout &s,
                      const std::vector<uint8_t> &pixels, std::string &message) {
    TiffHandle t = Open(path, s.bigEndian ? "wb" : "wl", message);
    if (!t)
        return false;
    TIFFSetField(t.get(), TIFFTAG_IMAGEWIDTH, s.width);
    TIFFSetField(t.get(), TIFFTAG_IMAGELENGTH, s.height);
    TIFFSetField(t.get(), TIFFTAG_SAMPLESPERPIXEL, s.samples);
    TIFFSetField(t.get(), TIFFTAG_BITSPERSAMPLE, s.bitsPerSample);
    TIFFSetField(t.get(), TIFFTAG_PHOTOMETRIC,
                 s.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(t.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t.get(), TIFFTAG_COMPRESSION, s.compression);
    if (s.predictor != 1)
        TIFFSetField(t.get(), TIFFTAG_PREDICTOR, s.predictor);
    TIFFSetField(t.get(), TIFFTAG_ROWSPERSTRIP,
                 s.rowsPerStrip ? s.rowsPerStrip : TIFFDefaultStripSize(t.get(), 0));
    const tmsize_t rowBytes = TIFFScanlineSize(t.get());
    std::vector<uint8_t> row(static_cast<size_t>(rowBytes));
    for (uint32_t y = 0; y < s.height; ++y) {
        // libtiff's encoders may modify the row they are given.
        std::copy_n(pixels.begin() + static_cast<ptrdiff_t>(y) * rowBytes, rowBytes, row.begin());
        if (TIFFWriteScanline(t.get(), row.data(), y, 0) < 0) {
            message = "libtiff cannot write " + path;
            return false;
        }
    }
    return true;
}

bool DecodeWithLibtiff(const std::string &path, std::vector<uint8_t> &image, bool zlibDeflate,
                       std::string &message) {
    TiffHandle t = Open(path, "r", message);
    if (!t)
        return false;
#ifdef TIFFTAG_DEFLATE_SUBCODEC
    if (zlibDeflate)
        TIFFSetField(t.get(), TIFFTAG_DEFLATE_SUBCODEC, DEFLATE_SUBCODEC_ZLIB);
#else
    (void)zlibDeflate;
#endif
    const uint32_t strips = TIFFNumberOfStrips(t.get());
    size_t at = 0;
    for (uint32_t i = 0; i < strips; ++i) {
        const tmsize_t n = TIFFReadEncodedStrip(t.get(), i, image.data() + at,
                                                static_cast<tmsize_t>(image.size() - at));
        if (n < 0) {
            message = "libtiff cannot decode strip " + std::to_string(i) + " of " + path;
            return false;
        }
        at += static_cast<size_t>(n);
    }
    return true;
}

} // namespace bench
