// Failure texts of SidInterface on real files through the engine choice and the GeoTIFF
// engine: missing, short, foreign, MrSID, JPEG 2000, truncated, unsupported and corrupt files.
#include "SidInterface.h"

#include "StripTiff.h"
#include "TestFiles.h"

#include "engines/OpenEngines.h"
#include "lti/LTIImageEngine.h"
#include "shr/Strings.h"

#include <gtest/gtest.h>

using sidtest::Bytes;
using sidtest::StripTiff;

namespace {

const std::wstring kOpenPrefix = L"Failed opening MrSID file:  ";
const std::wstring kReported = L"\nThe MrSID reader reported an error:  ";
#ifndef IOSID_HAVE_JPEG2000
const std::wstring kNoJpeg2000 = L"this is a JPEG 2000 image; this build has no JPEG 2000 "
                                 L"decoding engine (the native build reads JPEG 2000 with "
                                 L"OpenJPEG)";
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

// One row of `width` pixels of `samples` 8-bit samples, its strip `stored` bytes.
Bytes OneRow(uint32_t width, uint16_t samples, uint16_t compression, size_t stored) {
    StripTiff b(width, 1, samples, 8, 1, 1);
    b.Short(259, {compression});
    return b.Strip(Bytes(stored, 0x80)).Build();
}

struct OpenCase {
    const char *name;
    std::string bytes;
    std::wstring reason; // after the "reported an error" line
};

TEST(SidFileErrors, OpenFailuresNameThePathAndTheReason) {
    const std::string validTiff = Text(GreyTiff(1, Ramp(64)));
    const OpenCase cases[] = {
        {"empty.bin", "",
         L"the file is not an image this reader recognizes: the file is shorter "
         L"than any image header"},
        {"text.txt", "hello, this is text",
         L"the file is not an image this reader recognizes: unknown file signature"},
        {"image.sid", std::string("msid\x01\x02\x03\x04junk", 12),
         L"this is a MrSID image; decoding it needs the vendor's MrSID Decode SDK, which is not "
         L"included in this build"},
#ifndef IOSID_HAVE_JPEG2000 // the native build's refusals are in Jpeg2000ErrorsTest
        {"image.jp2", std::string("\0\0\0\x0CjP  \r\n\x87\n\0\0", 14), kNoJpeg2000},
        {"image.j2k", std::string("\xFF\x4F\xFF\x51\0\0", 6), kNoJpeg2000},
#endif
        // Shapes no file of this size could fill are refused before any strip is sized.
        {"claims-300MB-rows.tif", Text(OneRow(100000, 3000, 5, 16)),
         L"the image is corrupt: a row of 100000 pixels needs 300000000 bytes, more than the "
         L"69632 bytes the image's strips or tiles can decode to"},
        {"sparse-wide.tif", Text(OneRow(1048577, 1, 1, 0)),
         L"the image is corrupt: a row of 1048577 pixels needs 1048577 bytes, more than the 0 "
         L"bytes the image's strips or tiles can decode to"},
        {"jpeg2000-in-tiff.tif", Text(GreyTiff(34712, Ramp(64))),
         L"the image uses a layout this reader does not support: Compression 34712 (only none, "
         L"LZW, Deflate, PackBits and JPEG are decoded)"},
    };
    for (const auto &c : cases) {
        const std::wstring path = sidtest::Wide(sidtest::WriteScratch(c.name, c.bytes));
        SidInterface reader;
        EXPECT_FALSE(reader.Open(path)) << c.name;
        EXPECT_EQ(reader.GetErrorText(), kOpenPrefix + path + kReported + c.reason) << c.name;
        // The same reader opens a good file afterwards.
        EXPECT_TRUE(reader.Open(sidtest::Wide(sidtest::WriteScratch("valid.tif", validTiff))));
        EXPECT_EQ(reader.GetWidth(), 8u);
    }
}

TEST(SidFileErrors, RowsUpToAMebibyteOpenWhateverTheFileHolds) {
    SidInterface reader;
    EXPECT_TRUE(reader.Open(sidtest::ScratchFile("sparse-1MiB.tif", OneRow(1048576, 1, 1, 0))));
    EXPECT_EQ(reader.GetWidth(), 1048576u);
}

TEST(SidFileErrors, MissingFile) {
    const std::wstring path = sidtest::Wide(sidtest::ScratchPath("missing/nothing.sid"));
    SidInterface reader;
    EXPECT_FALSE(reader.Open(path));
    EXPECT_EQ(reader.GetErrorText(), kOpenPrefix + path + kReported +
                                         L"the input stream could not be opened: the file "
                                         L"could not be opened");
}

TEST(SidFileErrors, TiffWithoutARegisteredEngineNamesTheMissingEngine) {
    const std::wstring path = sidtest::ScratchFile("plain.tif", GreyTiff(1, Ramp(64)));
    LizardTech::RegisterEngine(LizardTech::ImageSignature::Tiff, nullptr);
    SidInterface reader;
    const bool opened = reader.Open(path);
    engines::RegisterOpenEngines();
    EXPECT_FALSE(opened);
    EXPECT_EQ(reader.GetErrorText(), kOpenPrefix + path + kReported +
                                         L"the file is not an image this reader recognizes: no "
                                         L"engine for TIFF images is registered");
    EXPECT_TRUE(reader.Open(path));
}

TEST(SidFileErrors, TruncatedStructureFailsOpening) {
    const std::string whole = Text(GreyTiff(1, Ramp(64)));
    const std::wstring path =
        sidtest::Wide(sidtest::WriteScratch("cut_ifd.tif", whole.substr(0, 20)));
    SidInterface reader;
    EXPECT_FALSE(reader.Open(path));
    const std::wstring text = reader.GetErrorText();
    EXPECT_EQ(text.rfind(kOpenPrefix + path + kReported, 0), 0u) << text;
    EXPECT_NE(text.find(L"TIFF structure: Subsystems/TiffImage/TiffRead"), std::wstring::npos)
        << text;
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
        {"bad_lzw.tif", Text(GreyTiff(5, std::string(20, '\xFF'))), L"status -5"},
        {"bad_deflate.tif", Text(GreyTiff(8, "not a zlib stream at all")), L"status -5"},
        {"bad_jpeg.tif", Text(GreyTiff(7, "not a JPEG stream at all")),
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
