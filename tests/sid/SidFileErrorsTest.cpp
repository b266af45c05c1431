// Failure texts of SidInterface on real files through the engine choice, the GeoTIFF and the
// JPEG 2000 engines: missing, short, foreign, MrSID, truncated, unsupported and corrupt files,
// JPEG layouts not decoded, and JPEG 2000 sizes that would make the decoder allocate without
// bound. That damaged blocks never crash or hang the decoders is left to the fuzz targets.
#include "SidInterface.h"

#include "StripTiff.h"
#include "TestFiles.h"

#include "shr/Strings.h"

#include <gtest/gtest.h>

#include <optional>

using sidtest::Bytes;
using sidtest::StripTiff;

namespace {

const std::wstring kOpenPrefix = L"Failed opening MrSID file:  ";
const std::wstring kReported = L"\nThe MrSID reader reported an error:  ";
#ifndef IOSID_HAVE_JPEG2000
const std::string kNoJpeg2000 = "this is a JPEG 2000 image; this build has no JPEG 2000 "
                                "decoding engine (the native build reads JPEG 2000 with "
                                "OpenJPEG)";
#endif
const std::wstring kReadFailed = L"Failed reading or decoding scanline data from MrSID file.";

// An 8 x 8 grey image; its strip bytes are split evenly over 8 / rowsPerStrip strips.
Bytes GreyTiff(uint16_t compression, const std::string &data, uint32_t rowsPerStrip = 8) {
    StripTiff b(8, 8, 1, 8, 1, rowsPerStrip);
    b.Short(259, {compression});
    const size_t strips = 8 / rowsPerStrip, size = data.size() / strips;
    for (size_t i = 0; i < strips; ++i)
        b.Strip(Bytes(data.begin() + i * size, data.begin() + (i + 1) * size));
    return b.Build();
}

std::string Ramp(size_t n) {
    std::string s;
    for (size_t i = 0; i < n; ++i)
        s.push_back(char(i * 3));
    return s;
}

std::string Text(const Bytes &bytes) { return std::string(bytes.begin(), bytes.end()); }

#ifdef IOSID_HAVE_JPEG2000
void Put16(std::string &s, uint32_t v) {
    s += static_cast<char>(v >> 8);
    s += static_cast<char>(v);
}
void Put32(std::string &s, uint32_t v) {
    Put16(s, v >> 16);
    Put16(s, v & 0xFFFF);
}

// A main header (SOC, SIZ, COD, QCD) and an empty tile-part, as the standard lays them out: a
// square image of square tiles.
std::string Codestream(uint32_t size, uint32_t tile, uint16_t components = 1,
                       uint16_t layers = 1) {
    std::string s;
    Put16(s, 0xFF4F);
    Put16(s, 0xFF51);
    Put16(s, 38 + 3 * components);
    Put16(s, 0);
    for (uint32_t v : {size, size, 0u, 0u, tile, tile, 0u, 0u})
        Put32(s, v);
    Put16(s, components);
    for (uint16_t c = 0; c < components; ++c)
        s += std::string("\x07\x01\x01", 3); // 8 bits, not subsampled
    Put16(s, 0xFF52); // two levels, code-blocks of 64 x 64
    Put16(s, 12);
    s += std::string("\0\0", 2);
    Put16(s, layers);
    s += std::string("\0\x02\x04\x04\0\x01", 6);
    Put16(s, 0xFF5C); // no quantization: one exponent per sub-band
    Put16(s, 3 + 3 * 2 + 1);
    s += std::string(3 * 2 + 2, '\x40');
    Put16(s, 0xFF90);
    Put16(s, 10);
    Put16(s, 0);
    Put32(s, 14);
    s += std::string("\0\x01", 2);
    Put16(s, 0xFF93);
    Put16(s, 0xFFD9);
    return s;
}

#endif

// One row of `width` pixels of `samples` 8-bit samples, its strip `stored` bytes.
Bytes OneRow(uint32_t width, uint16_t samples, uint16_t compression, size_t stored) {
    StripTiff b(width, 1, samples, 8, 1, 1);
    b.Short(259, {compression});
    return b.Strip(Bytes(stored, 0x80)).Build();
}

// An 8 x 8 JPEG-compressed image of the given layout.
Bytes JpegTiff(uint16_t samples, uint16_t bits, uint16_t photometric) {
    StripTiff b(8, 8, samples, bits, photometric, 8);
    return b.Short(259, {7}).Strip(Bytes(64, 0)).Build();
}

struct OpenCase {
    const char *name;
    std::optional<std::string> bytes; // none: no file
    std::string reason; // after the "reported an error" line; "...": a part of it; "": opens
};

TEST(SidFileErrors, OpenFailuresNameThePathAndTheReason) {
    const std::string validTiff = Text(GreyTiff(1, Ramp(64)));
#ifdef IOSID_HAVE_JPEG2000
    const std::string good = Codestream(64, 64);
#endif
    const OpenCase cases[] = {
        {"missing/nothing.sid", std::nullopt,
         "the input stream could not be opened: the file could not be opened"},
        {"cut_ifd.tif", validTiff.substr(0, 20),
         "...TIFF structure: Subsystems/TiffImage/TiffRead"},
        {"sparse-1MiB.tif", Text(OneRow(1048576, 1, 1, 0)), ""}, // rows up to a MiB open
        {"empty.bin", "",
         "the file is not an image this reader recognizes: the file is shorter "
         "than any image header"},
        {"text.txt", "hello, this is text",
         "the file is not an image this reader recognizes: unknown file signature"},
        {"image.sid", std::string("msid\x01\x02\x03\x04junk", 12),
         "this is a MrSID image; decoding it needs the vendor's MrSID Decode SDK, which is not "
         "included in this build"},
#ifndef IOSID_HAVE_JPEG2000 // the native build refuses these below
        {"image.jp2", std::string("\0\0\0\x0CjP  \r\n\x87\n\0\0", 14), kNoJpeg2000},
        {"image.j2k", std::string("\xFF\x4F\xFF\x51\0\0", 6), kNoJpeg2000},
#endif
        // Shapes no file of this size could fill are refused before any strip is sized.
        {"claims-300MB-rows.tif", Text(OneRow(100000, 3000, 5, 16)),
         "the image is corrupt: a row of 100000 pixels needs 300000000 bytes, more than the "
         "69632 bytes the image's strips or tiles can decode to"},
        {"sparse-wide.tif", Text(OneRow(1048577, 1, 1, 0)),
         "the image is corrupt: a row of 1048577 pixels needs 1048577 bytes, more than the 0 "
         "bytes the image's strips or tiles can decode to"},
        {"jpeg2000-in-tiff.tif", Text(GreyTiff(34712, Ramp(64))),
         "the image uses a layout this reader does not support: Compression 34712 (only none, "
         "LZW, Deflate, PackBits and JPEG are decoded)"},
        // JPEG: only 8-bit chunky grey or RGB with up to four samples, or YCbCr
        {"jpeg12.tif", Text(JpegTiff(1, 12, 1)), "...JPEG with 12-bit samples (only 8-bit are"},
        {"jpeg_cmyk.tif", Text(JpegTiff(4, 8, 5)), "...JPEG with Photometric 5 and 4 samples"},
#ifdef IOSID_HAVE_JPEG2000
        {"good.j2k", good, ""}, // the builder's untouched header: the refusals are the changes
        {"huge_tile.j2k", Codestream(0x7FFFFFFF, 0x7FFFFFFF), "...too many code-blocks to decode"},
        {"many_tiles.j2k", Codestream(100000, 16), "...tiles (at most 32768 are allowed)"},
        {"tiles_past_end.j2k", Codestream(4096, 64), "...4096 tiles, more than a codestream of"},
        {"blocks_past_end.j2k", Codestream(40000, 40000), "...code-blocks, more than a codestream"},
        {"tile_components.j2k", Codestream(4096, 32, 16), "...tiles of 16 components are too many"},
        {"many_layers.j2k", Codestream(64, 64, 4, 0xFFFF), "...packets, more than a codestream"},
        {"cut_header.j2k", good.substr(0, 30), "...runs past the codestream"},
#endif
    };
    for (const auto &c : cases) {
        const std::string reason = c.reason.substr(c.reason.rfind("...", 0) == 0 ? 3 : 0);
        const std::wstring path = sidtest::Wide(c.bytes ? sidtest::WriteScratch(c.name, *c.bytes)
                                                        : sidtest::ScratchPath(c.name));
        SidInterface reader;
        EXPECT_EQ(reader.Open(path), reason.empty()) << c.name;
        const std::wstring text = reader.GetErrorText();
        if (reason.size() == c.reason.size())
            EXPECT_EQ(text,
                      reason.empty() ? L"" : kOpenPrefix + path + kReported + sidtest::Wide(reason))
                << c.name;
        else
            EXPECT_TRUE(text.rfind(kOpenPrefix + path + kReported, 0) == 0 &&
                        text.find(sidtest::Wide(reason)) != std::wstring::npos)
                << c.name << ": " << shr::WtoA(text);
        // The same reader opens a good file afterwards.
        EXPECT_TRUE(reader.Open(sidtest::Wide(sidtest::WriteScratch("valid.tif", validTiff))));
        EXPECT_EQ(reader.GetWidth(), 8u);
    }
}

struct ReadCase {
    const char *name;
    std::string bytes;
    std::wstring status; // the TIFF library's status code, and the decoder's reason if any
};

TEST(SidFileErrors, DataFailuresAppearWhenTheirStripIsRead) {
    const std::string whole = Text(GreyTiff(1, Ramp(64), 4)); // two strips of four rows
    const ReadCase cases[] = {
        {"cut_data.tif", whole.substr(0, whole.size() - 10), L"status -3"},
        // Each codec's own words follow the prefix.
        {"bad_jpeg.tif", Text(GreyTiff(7, std::string(64, 'U'))),
         L"status -5 (JPEG block: Not a JPEG file"},
    };
    const std::wstring reason = L"decoding the image data failed: rows 0 to 7 of the "
                                L"full-resolution image: Subsystems/TiffImage/";
    for (const auto &c : cases) {
        SidInterface reader;
        ASSERT_TRUE(reader.Open(sidtest::Wide(sidtest::WriteScratch(c.name, c.bytes)))) << c.name;
        std::vector<uint8_t> row(64);
        EXPECT_FALSE(reader.ReadScanline(0, row.data())) << c.name;
        const std::wstring text = reader.GetErrorText();
        EXPECT_EQ(text.rfind(kReadFailed + kReported + reason, 0), 0u) << shr::WtoA(text);
        EXPECT_NE(text.find(c.status, kReadFailed.size()), std::wstring::npos) << shr::WtoA(text);
    }
}

} // namespace
