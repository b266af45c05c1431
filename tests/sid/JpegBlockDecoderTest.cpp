// The JPEG block decoder's refusals, on a grey stream (written here with libjpeg natively, made
// by GDAL for the Windows build): each mismatch or bad stream fails with its reason, whichever
// codec the build carries, and layouts other than 8-bit grey, RGB or YCbCr are not read.
// Decoded pixels are compared with GDAL's in GdalPixelsTest (native) and JpegFixturesTest.
#include "engines/geotiff/JpegBlockDecoder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#ifndef IOSID_JPEG_FIXTURES
#include <jpeglib.h>
#endif

namespace {

using engines::geotiff::MakeJpegBlockDecoder;
using Bytes = std::vector<unsigned char>;

#ifdef IOSID_JPEG_FIXTURES
// A 16 x 8 grey JPEG that GDAL made on the build host (the Windows build has no libjpeg).
Bytes GreyStream() {
    std::ifstream in(std::string(IOSID_JPEG_FIXTURES) + "/grey16x8.jpg", std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}
#else
Bytes GreyStream() {
    const uint32_t w = 16, h = 8;
    jpeg_compress_struct c{};
    jpeg_error_mgr err{};
    c.err = jpeg_std_error(&err);
    jpeg_create_compress(&c);
    unsigned char *out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &out, &size);
    c.image_width = w;
    c.image_height = h;
    c.input_components = 1;
    c.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&c);
    jpeg_start_compress(&c, TRUE);
    Bytes row(w, 0x80);
    for (JSAMPROW p = row.data(); c.next_scanline < h;)
        jpeg_write_scanlines(&c, &p, 1);
    jpeg_finish_compress(&c);
    Bytes bytes(out, out + size);
    jpeg_destroy_compress(&c);
    std::free(out);
    return bytes;
}
#endif

tiff::TiffImageInfo Layout(uint16_t photometric, uint16_t samples, uint16_t bits = 8) {
    tiff::TiffImageInfo info;
    info.photometric = photometric;
    info.samplesPerPixel = samples;
    info.bitsPerSample = bits;
    return info;
}

TEST(JpegBlockDecoder, MismatchesAndBadStreamsAreRefusedWithAReason) {
    struct Case {
        const char *name;
        Bytes tables, stream;
        uint16_t photometric, samples;
        uint32_t rows;
        size_t outSize;
        const char *reason;
    };
    const Bytes grey = GreyStream();
    const Case cases[] = {
        {"decodes", {}, grey, 1, 1, 8, 128, ""},
        {"taller block", {}, grey, 1, 1, 16, 256, "is 16 x 8 pixels of 1 components"},
        {"colour block", {}, grey, 6, 3, 8, 384, "the block 16 x 8 of 3"},
        {"buffer size", {}, grey, 1, 1, 8, 100, "cannot fill 100 bytes"},
        {"image as tables", grey, grey, 1, 1, 8, 128, "JPEGTables holds more than tables"},
        {"not JPEG", {}, Bytes(64, 0x55), 1, 1, 8, 128, "JPEG block: Not a JPEG file"},
    };
    for (const Case &c : cases) {
        std::string why;
        auto decoder = MakeJpegBlockDecoder(c.tables, Layout(c.photometric, c.samples), why);
        ASSERT_TRUE(decoder) << c.name << ": " << why;
        Bytes out(c.outSize);
        EXPECT_EQ(
            decoder->Decode(c.stream.data(), c.stream.size(), 16, c.rows, out.data(), out.size()),
            *c.reason == 0)
            << c.name;
        EXPECT_NE(decoder->Reason().find(c.reason), std::string::npos)
            << c.name << ": " << decoder->Reason();
    }
}

TEST(JpegBlockDecoder, OnlyEightBitChunkyGreyRgbOrYCbCrLayouts) {
    struct Case {
        tiff::TiffImageInfo info;
        bool decoded;
    };
    auto planar = Layout(6, 3);
    planar.planarConfig = tiff::kPlanarSeparate;
    const Case cases[] = {{Layout(1, 1), true},      {Layout(6, 3), true},  {Layout(2, 4), true},
                          {Layout(1, 1, 12), false}, {planar, false},       {Layout(6, 4), false},
                          {Layout(5, 4), false},     {Layout(3, 1), false}, {Layout(2, 5), false}};
    for (const Case &c : cases) {
        std::string why;
        EXPECT_EQ(MakeJpegBlockDecoder({}, c.info, why) != nullptr, c.decoded)
            << c.info.photometric << "/" << c.info.samplesPerPixel << ": " << why;
        EXPECT_EQ(why.empty(), c.decoded);
    }
}

} // namespace
