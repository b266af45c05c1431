// The JPEG block decoder on streams written here with libjpeg: abbreviated blocks decode with
// the shared tables as their self-contained form does, and every mismatch or bad stream is
// refused with a reason.
#include "engines/geotiff/JpegBlockDecoder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>

#include <string>
#include <vector>

namespace {

using engines::geotiff::MakeJpegBlockDecoder;
using Bytes = std::vector<unsigned char>;

enum class Part { Whole, TablesOnly, Abbreviated };

// A w × h stream of `components` (1 grey, 3 YCbCr 2×2), or its tables, or its tables-less form.
Bytes Encode(uint32_t w, uint32_t h, int components, Part part) {
    jpeg_compress_struct c{};
    jpeg_error_mgr err{};
    c.err = jpeg_std_error(&err);
    jpeg_create_compress(&c);
    unsigned char *out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &out, &size);
    c.image_width = w;
    c.image_height = h;
    c.input_components = components;
    c.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&c);
    if (part == Part::TablesOnly) {
        jpeg_write_tables(&c);
    } else {
        if (part == Part::Abbreviated)
            jpeg_suppress_tables(&c, TRUE);
        jpeg_start_compress(&c, FALSE);
        std::vector<unsigned char> row(size_t{w} * components);
        for (uint32_t y = 0; y < h; ++y) {
            for (size_t i = 0; i < row.size(); ++i)
                row[i] = static_cast<unsigned char>(i * 7 + y * 13 + (i * y) % 29);
            JSAMPROW p = row.data();
            jpeg_write_scanlines(&c, &p, 1);
        }
        jpeg_finish_compress(&c);
    }
    Bytes bytes(out, out + size);
    jpeg_destroy_compress(&c);
    std::free(out);
    return bytes;
}

tiff::TiffImageInfo Layout(uint16_t photometric, uint16_t samples) {
    tiff::TiffImageInfo info;
    info.photometric = photometric;
    info.samplesPerPixel = samples;
    info.bitsPerSample = 8;
    return info;
}

TEST(JpegBlockDecoder, AbbreviatedBlocksWithTablesDecodeAsWholeStreams) {
    for (int components : {1, 3}) {
        const auto info = Layout(components == 1 ? 1 : 6, static_cast<uint16_t>(components));
        std::string why;
        auto withTables = MakeJpegBlockDecoder(Encode(40, 24, components, Part::TablesOnly),
                                               info, why);
        auto plain = MakeJpegBlockDecoder({}, info, why);
        ASSERT_TRUE(withTables && plain) << why;
        Bytes a(size_t{40} * 24 * components), b(a.size());
        const Bytes abbreviated = Encode(40, 24, components, Part::Abbreviated);
        const Bytes whole = Encode(40, 24, components, Part::Whole);
        EXPECT_TRUE(withTables->Decode(abbreviated.data(), abbreviated.size(), 40, 24, a.data(),
                                       a.size()))
            << withTables->Reason();
        EXPECT_TRUE(plain->Decode(whole.data(), whole.size(), 40, 24, b.data(), b.size()));
        EXPECT_EQ(a, b) << components;
        // Without its tables the abbreviated block cannot be decoded.
        EXPECT_FALSE(plain->Decode(abbreviated.data(), abbreviated.size(), 40, 24, b.data(),
                                   b.size()));
        EXPECT_FALSE(plain->Reason().empty());
    }
}

TEST(JpegBlockDecoder, MismatchesAndBadStreamsAreRefusedWithAReason) {
    struct Case {
        const char *name;
        Bytes tables, stream;
        uint16_t photometric, samples;
        uint32_t width, rows;
        size_t outSize;
        const char *reason;
    };
    const Bytes grey = Encode(16, 8, 1, Part::Whole);
    const Case cases[] = {
        {"taller block", {}, grey, 1, 1, 16, 16, 256, "16 x 8 pixels of 1"},
        {"colour block", {}, grey, 6, 3, 16, 8, 384, "the block 16 x 8 of 3"},
        {"buffer size", {}, grey, 1, 1, 16, 8, 100, "cannot fill 100 bytes"},
        {"image as tables", grey, grey, 1, 1, 16, 8, 128, "holds more than tables"},
        {"not JPEG", {}, Bytes(64, 0x55), 1, 1, 16, 8, 128, "JPEG block: Not a JPEG file"},
        {"empty", {}, {}, 1, 1, 16, 8, 128, "JPEG block: "},
    };
    for (const Case &c : cases) {
        std::string why;
        auto decoder = MakeJpegBlockDecoder(c.tables, Layout(c.photometric, c.samples), why);
        ASSERT_TRUE(decoder) << c.name << ": " << why;
        Bytes out(c.outSize);
        EXPECT_FALSE(
            decoder->Decode(c.stream.data(), c.stream.size(), c.width, c.rows, out.data(),
                            out.size()))
            << c.name;
        EXPECT_NE(decoder->Reason().find(c.reason), std::string::npos)
            << c.name << ": " << decoder->Reason();
    }
}

TEST(JpegBlockDecoder, LayoutsOutsideEightBitGreyRgbOrYCbCrAreNotDecoded) {
    struct Case {
        uint16_t photometric, samples, bits;
        bool planar, decoded;
    };
    const Case cases[] = {{1, 1, 8, false, true},   {6, 3, 8, false, true},
                          {2, 4, 8, false, true},   {1, 1, 12, false, false},
                          {6, 3, 8, true, false},   {6, 4, 8, false, false},
                          {5, 4, 8, false, false},  {3, 1, 8, false, false}};
    for (const Case &c : cases) {
        auto info = Layout(c.photometric, c.samples);
        info.bitsPerSample = c.bits;
        info.planarConfig = c.planar ? tiff::kPlanarSeparate : tiff::kPlanarChunky;
        std::string why;
        EXPECT_EQ(MakeJpegBlockDecoder({}, info, why) != nullptr, c.decoded)
            << c.photometric << "/" << c.samples << "/" << c.bits << ": " << why;
        EXPECT_EQ(why.empty(), c.decoded);
    }
}

} // namespace
