// Image loader: how much it reads from its source, sparse chunks, fill order and the old
// SubfileType. Pixels in every layout, coding, window and row are compared with libtiff in peer/.
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

// Reads of a window, whole or row by row, through a source that lends no bytes: the pixels, the
// number of source reads (each strip or tile once, only those the window touches) and the bytes
// read. Uncompressed strips over 256 KiB are read in blocks of whole rows.
TEST(LoaderReads, EachChunkOnceAndOnlyWhatTheWindowTouches) {
    const struct {
        const char *name;
        uint32_t width, height;
        uint16_t bps = 8, compression = 1;
        bool tiled = false;
        uint32_t chunk; // tile size or rows per strip
        uint32_t x, y, w, h;
        bool rowByRow = false;
        size_t reads = 0;      // 0: not counted
        uint64_t maxBytes = 0; // 0: not bounded
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
        size_t reads = 0;
        uint64_t bytes = 0;
        CTiffReader reader;
        ASSERT_TRUE(reader.Open(std::make_unique<CountingSource>(m.Build(), reads, bytes), L"m"));
        TiffImageLoader loader(reader);
        ASSERT_TRUE(loader.Open(0));
        loader.SetCacheLimit(0);
        reads = bytes = 0;
        const size_t rowBytes = static_cast<size_t>(m.OutputRowBytes(c.w));
        Bytes got(rowBytes * c.h, 0xA5);
        for (uint32_t r = 0; r < (c.rowByRow ? c.h : 1); ++r)
            ASSERT_TRUE(loader.ReadWindow(c.x, c.y + r, c.w, c.rowByRow ? 1 : c.h,
                                          got.data() + r * rowBytes));
        EXPECT_EQ(got, m.Expected(c.x, c.y, c.w, c.h));
        EXPECT_TRUE(c.reads == 0 || reads == c.reads) << reads;
        EXPECT_TRUE(c.maxBytes == 0 || bytes <= c.maxBytes) << bytes;
    }
}

// Files the loader must read although they stray from the plain layout.
TEST(Loader, UnusualLayoutsLoad) {
    const auto reverseBits = [](std::vector<Bytes> &chunks) {
        for (auto &chunk : chunks)
            for (auto &byte : chunk) {
                unsigned char r = 0;
                for (int b = 0; b < 8; ++b)
                    r |= ((byte >> b) & 1) << (7 - b);
                byte = r;
            }
    };
    const struct {
        const char *name;
        std::function<void(ImageModel &)> set;
        bool secondTileZero;
    } cases[] = {
        {"sparse tile reads as zeros",
         [](ImageModel &m) {
             m.tiled = true;
             m.chunkHeight = 16;
             m.editChunks = [](std::vector<Bytes> &chunks) { chunks[1].clear(); };
         },
         true},
        {"reversed fill order of uncompressed bits",
         [&](ImageModel &m) {
             m.bps = 1;
             m.editChunks = reverseBits;
             m.edit = [](TiffWriter &b, Directory &d) { b.AddUInts(d, 266, 3, {2}); };
         },
         false},
        {"uncompressed strips without byte counts are sized from the layout",
         [](ImageModel &m) { m.edit = [](TiffWriter &, Directory &d) { d.Remove(279); }; }, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ImageModel m;
        c.set(m);
        CTiffReader reader;
        ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"m"));
        TiffImageLoader loader(reader);
        ASSERT_TRUE(loader.Open(0));
        Bytes want = m.Expected(0, 0, m.width, m.height);
        Bytes got(want.size(), 0xA5);
        ASSERT_TRUE(loader.ReadImage(got.data()));
        for (uint32_t y = 0; c.secondTileZero && y < 16; ++y)
            std::fill_n(want.begin() + y * m.width + 16, 16, 0);
        EXPECT_EQ(got, want);
    }
}

// The old SubfileType's reduced image is the new one's reduced image: overviews are found by it.
TEST(Loader, OldSubfileTypeMarksReducedImages) {
    ImageModel m;
    m.edit = [](TiffWriter &b, Directory &d) { b.AddUInts(d, 255, 3, {2}); };
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"info"));
    tiff::TiffImageInfo info;
    ASSERT_TRUE(tiff::DescribeImage(reader, 0, info));
    EXPECT_EQ(info.subfileType, tiff::kSubfileReduced);
}

} // namespace
