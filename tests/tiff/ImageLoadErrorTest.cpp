// Image loader: bad or unsupported layouts and bad strip data end with their status codes.
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "support/ImageModel.h"

#include <gtest/gtest.h>

using testsupport::Bytes;
using testsupport::Directory;
using testsupport::ImageModel;
using testsupport::TiffWriter;
using tiff::CTiffReader;
using tiff::TiffImageLoader;

namespace {

using Edit = std::function<void(TiffWriter &, Directory &)>;

Edit Set(uint16_t tag, std::vector<uint64_t> values, uint16_t type = 3) {
    return [=](TiffWriter &b, Directory &d) { b.SetUInts(d, tag, type, values); };
}
Edit Remove(uint16_t tag) {
    return [=](TiffWriter &, Directory &d) { d.Remove(tag); };
}
Edit All(std::vector<Edit> edits) {
    return [=](TiffWriter &b, Directory &d) {
        for (const Edit &e : edits)
            e(b, d);
    };
}
// Rows of `width` bytes, one per strip, in strips of two PackBits bytes: at most 4224 bytes.
Edit TwoByteRows(uint64_t width) {
    return All({Set(256, {width}, 4), Set(257, {2}, 4), Set(278, {1}, 4),
                Set(279, std::vector<uint64_t>(7, 2), 4)});
}

// The 37 x 21 model in seven strips of 111 bytes, or 3 x 2 tiles of 16 x 16 when tiled.
struct ErrorCase {
    const char *name;
    uint16_t compression;
    bool tiled;
    Edit edit;
    bool opens; // fails when the image is read instead
    int32_t code;
    const wchar_t *file; // source file of the record, without the folder
};

const ErrorCase kCases[] = {
    {"bits 65", 1, false, Set(258, {65}), false, -5, L"TiffImageInfo"},
    {"subsampled YCbCr without JPEG", 1, false, Set(262, {6}), false, -6, L"TiffImageInfo"},
    {"reversed fill order under Deflate", 8, false, Set(266, {2}), false, -6, L"TiffImageLoad"},
    {"too few strip offsets", 1, false, Set(273, {8, 8}, 4), false, -5, L"TiffChunkGrid"},
    {"Deflate without byte counts", 8, false, Remove(279), false, -5, L"TiffChunkGrid"},
    {"tile of 16 GiB", 1, true, All({Set(322, {65536}, 4), Set(323, {65536}, 4), Set(258, {32})}),
     false, -4, L"TiffChunkGrid"},
    {"strip offset past the end", 1, false, Set(273, {8, 8, 8, 8, 8, 8, 100000}, 4), true, -3,
     L"TiffChunkGrid"},
    {"PackBits strip too short for its rows", 32773, false, TwoByteRows(4225), true, -5,
     L"TiffChunkGrid"},
    {"PackBits strip that may hold its rows", 32773, false, TwoByteRows(4224), true, -5,
     L"TiffDecodeStrip"},
};

TEST(LoadErrors, RecordTheStatus) {
    for (const ErrorCase &c : kCases) {
        SCOPED_TRACE(c.name);
        ImageModel m;
        m.compression = c.compression;
        m.tiled = c.tiled;
        m.chunkHeight = c.tiled ? 16 : 3;
        m.edit = c.edit;
        CTiffReader reader;
        ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"bad"));
        TiffImageLoader loader(reader);
        ASSERT_EQ(loader.Open(0), c.opens) << reader.Error().code;
        if (c.opens) {
            Bytes image(static_cast<size_t>(loader.Info().ImageBytes()));
            EXPECT_FALSE(loader.ReadImage(image.data()));
        }
        EXPECT_EQ(reader.Error().code, c.code);
        EXPECT_EQ(reader.Error().file, std::wstring(L"Subsystems/TiffImage/") + c.file);
    }
}

// Windows must lie inside the image, sums of offset and size included.
TEST(LoadErrors, WindowsOutsideTheImage) {
    ImageModel m;
    CTiffReader reader;
    TiffImageLoader loader(reader);
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"m"));
    EXPECT_FALSE(loader.Open(1)); // no such directory
    EXPECT_EQ(reader.Error().code, -1);
    ASSERT_TRUE(loader.Open(0));
    Bytes buffer(2000);
    struct Box {
        uint32_t x, y, w, h;
    } outside[] = {{30, 0, 8, 1}, {0, 20, 1, 2}, {38, 0, 0, 0}, {1, 1, 0xFFFFFFFF, 1}};
    for (const Box &b : outside) {
        EXPECT_FALSE(loader.ReadWindow(b.x, b.y, b.w, b.h, buffer.data()));
        EXPECT_EQ(reader.Error().code, -1);
    }
    EXPECT_TRUE(loader.ReadWindow(37, 21, 0, 0, buffer.data())); // empty window at the corner
}

// A list tag of an unknown type, whose values were never loaded, reads as holding none,
// whatever count it claims.
TEST(LoadErrors, ListTagsClaimingMoreValuesThanHeldReadAsEmpty) {
    ImageModel m;
    m.edit = [&](TiffWriter &b, Directory &d) { b.AddRaw(d, 338, 99, 0xFFFFFFFF, 8); };
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"m"));
    TiffImageLoader loader(reader);
    ASSERT_TRUE(loader.Open(0));
    EXPECT_TRUE(loader.Info().extraSamples.empty());
    Bytes image(37 * 21);
    ASSERT_TRUE(loader.ReadImage(image.data()));
    EXPECT_EQ(image, m.Expected(0, 0, 37, 21));
}

} // namespace
