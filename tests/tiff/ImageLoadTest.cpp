// Image loader: how much it reads from its source, sparse chunks, fill order, the old
// SubfileType, and the status codes of bad layouts and strip data. Pixels in every layout,
// coding, window and row are compared with libtiff in peer/.
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "support/ImageModel.h"

#include <gtest/gtest.h>

#include <cstring>

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
Edit Raw(uint16_t tag, uint16_t type, uint64_t count, uint64_t field) {
    return [=](TiffWriter &b, Directory &d) { b.AddRaw(d, tag, type, count, field); };
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

// Counts what the loader reads from its source.
struct CountingSource : tiff::TiffSource {
    CountingSource(Bytes bytes, size_t &reads, uint64_t &bytesRead)
        : inner(tiff::MakeMemorySource(std::move(bytes))), reads(reads), bytesRead(bytesRead) {}
    bool Length(uint64_t &length) override { return inner->Length(length); }
    bool Seek(uint64_t position) override { return inner->Seek(position); }
    size_t Read(void *dest, size_t size) override {
        ++reads;
        bytesRead += size;
        return inner->Read(dest, size);
    }
    std::unique_ptr<tiff::TiffSource> inner;
    size_t &reads;
    uint64_t &bytesRead;
};

// Fill order 2: the bits of every byte reversed.
void ReverseBits(std::vector<Bytes> &chunks) {
    for (auto &chunk : chunks)
        for (auto &byte : chunk) {
            unsigned char r = 0;
            for (int b = 0; b < 8; ++b)
                r |= ((byte >> b) & 1) << (7 - b);
            byte = r;
        }
}

// Reads of a window, whole or row by row, through a source that lends no bytes: the pixels, the
// number of source reads (each strip or tile once, only those the window touches) and the bytes
// read. Uncompressed strips over 256 KiB are read in blocks of whole rows. The rows after those
// are files the loader must read although they stray from the plain layout.
TEST(LoaderReads, EachChunkOnceAndOnlyWhatTheWindowTouches) {
    const struct {
        const char *name;
        uint32_t width = 37, height = 21;
        uint16_t bps = 8, compression = 1;
        bool tiled = false;
        uint32_t chunk = 3; // tile size or rows per strip
        uint32_t x = 0, y = 0, w = 37, h = 21;
        bool rowByRow = false;
        size_t reads = 0;      // 0: not counted
        uint64_t maxBytes = 0; // 0: not bounded
        Edit edit = nullptr;
        std::function<void(std::vector<Bytes> &)> editChunks = nullptr;
        bool secondTileZero = false;
        uint32_t subfileType = 0;
    } cases[] = {
        // Columns 0..4 of 7 tiles across, three bands down; only the band across is kept.
        {.name = "rows of tiles", .width = 100, .height = 40, .compression = 8, .tiled = true,
         .chunk = 16, .x = 10, .y = 0, .w = 70, .h = 40, .rowByRow = true, .reads = 15},
        {.name = "ten rows of one 1.2 MB strip", .width = 2000, .height = 600, .chunk = 600,
         .x = 1000, .y = 300, .w = 50, .h = 10, .maxBytes = 300000},
        {.name = "blocks of 124 rows", .width = 2100, .height = 500, .chunk = 500, .x = 0, .y = 0,
         .w = 2100, .h = 500, .reads = 5},
        {.name = "1-bit rows across a block boundary at row 418", .width = 5001, .height = 700,
         .bps = 1, .chunk = 700, .x = 3, .y = 400, .w = 4990, .h = 40, .rowByRow = true},
        {.name = "sparse tile reads as zeros", .tiled = true, .chunk = 16,
         .editChunks = [](std::vector<Bytes> &chunks) { chunks[1].clear(); },
         .secondTileZero = true},
        {.name = "reversed fill order of uncompressed bits", .bps = 1, .edit = Set(266, {2}),
         .editChunks = ReverseBits},
        {.name = "uncompressed strips without byte counts are sized from the layout",
         .edit = Remove(279)},
        // Values of an unknown type are never loaded: the list holds none, whatever its count.
        {.name = "extra samples of an unknown type", .edit = Raw(338, 99, 0xFFFFFFFF, 8)},
        {.name = "the old SubfileType's reduced image is the new one's", .edit = Set(255, {2}),
         .subfileType = tiff::kSubfileReduced},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ImageModel m;
        m.width = c.width;
        m.height = c.height;
        m.bps = c.bps;
        m.compression = c.compression;
        m.tiled = c.tiled;
        m.chunkWidth = m.chunkHeight = c.chunk;
        m.edit = c.edit;
        m.editChunks = c.editChunks;
        size_t reads = 0;
        uint64_t bytes = 0;
        CTiffReader reader;
        ASSERT_TRUE(reader.Open(std::make_unique<CountingSource>(m.Build(), reads, bytes), L"m"));
        TiffImageLoader loader(reader);
        ASSERT_TRUE(loader.Open(0));
        EXPECT_TRUE(loader.Info().extraSamples.empty());
        EXPECT_EQ(loader.Info().subfileType, c.subfileType);
        loader.SetCacheLimit(0);
        reads = bytes = 0;
        const size_t rowBytes = static_cast<size_t>(m.OutputRowBytes(c.w));
        Bytes got(rowBytes * c.h, 0xA5);
        for (uint32_t r = 0; r < (c.rowByRow ? c.h : 1); ++r)
            ASSERT_TRUE(loader.ReadWindow(c.x, c.y + r, c.w, c.rowByRow ? 1 : c.h,
                                          got.data() + r * rowBytes));
        Bytes want = m.Expected(c.x, c.y, c.w, c.h);
        for (uint32_t y = 0; c.secondTileZero && y < 16; ++y)
            std::fill_n(want.begin() + y * m.width + 16, 16, 0);
        EXPECT_EQ(got, want);
        EXPECT_TRUE(c.reads == 0 || reads == c.reads) << reads;
        EXPECT_TRUE(c.maxBytes == 0 || bytes <= c.maxBytes) << bytes;
    }
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

} // namespace
