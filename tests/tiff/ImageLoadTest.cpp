// Image loader: how much it reads from its source, sparse chunks, fill order and the tags it
// describes. Pixels in every layout, coding, window and row are compared with libtiff in
// peer/WrittenPeerTest.
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
class CountingSource : public tiff::TiffSource {
public:
    CountingSource(Bytes bytes, size_t &reads, uint64_t &bytesRead)
        : inner_(tiff::MakeMemorySource(std::move(bytes))), reads_(reads), bytesRead_(bytesRead) {}
    bool Length(uint64_t &length) override { return inner_->Length(length); }
    bool Seek(uint64_t position) override { return inner_->Seek(position); }
    size_t Read(void *dest, size_t size) override {
        ++reads_;
        bytesRead_ += size;
        return inner_->Read(dest, size);
    }

private:
    std::unique_ptr<tiff::TiffSource> inner_;
    size_t &reads_;
    uint64_t &bytesRead_;
};

// Reads of a window, whole or row by row: the pixels, the number of source reads (each strip or
// tile once, only those the window touches) and the bytes read.
TEST(LoaderReads, EachChunkOnceAndOnlyWhatTheWindowTouches) {
    const struct {
        const char *name;
        std::function<void(ImageModel &)> set;
        uint32_t x, y, w, h;
        bool rowByRow;
        size_t reads;      // 0: not counted
        uint64_t maxBytes; // 0: not bounded
    } cases[] = {
        // Columns 0..4 of 7 tiles across, three bands down; only the band across is kept.
        {"rows of tiles",
         [](ImageModel &m) {
             m.width = 100;
             m.height = 40;
             m.tiled = true;
             m.chunkHeight = 16;
             m.compression = 8;
         },
         10, 0, 70, 40, true, 15, 0},
        {"whole image of strips",
         [](ImageModel &m) {
             m.width = 50;
             m.height = 31;
             m.compression = 32773;
         },
         0, 0, 50, 31, false, 11, 0},
        {"ten rows of one 1.2 MB strip",
         [](ImageModel &m) {
             m.width = 2000;
             m.height = 600;
             m.chunkHeight = 600;
         },
         1000, 300, 50, 10, false, 0, 300000},
        // Strips over 256 KiB uncompressed are read in blocks of whole rows: 124 rows here.
        {"blocks of one strip",
         [](ImageModel &m) {
             m.width = 700;
             m.height = m.chunkHeight = 500;
             m.spp = 3;
         },
         0, 0, 700, 500, false, 5, 0},
        {"1-bit rows across a block boundary at row 418",
         [](ImageModel &m) {
             m.width = 5001;
             m.height = m.chunkHeight = 700;
             m.bps = 1;
         },
         3, 400, 4990, 40, true, 0, 0},
        {"inside one tile",
         [](ImageModel &m) {
             m.width = m.height = 200;
             m.tiled = true;
             m.chunkWidth = m.chunkHeight = 32;
             m.compression = 8;
         },
         70, 100, 20, 20, false, 1, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ImageModel m;
        c.set(m);
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

TEST(Loader, DescribesColormapExtraSamplesAndSubfiles) {
    ImageModel m;
    m.bps = 2;
    m.spp = 2;
    m.edit = [](TiffWriter &b, Directory &d) {
        std::vector<uint64_t> colormap(12);
        for (size_t i = 0; i < colormap.size(); ++i)
            colormap[i] = i * 1000;
        b.AddUInts(d, 320, 3, colormap);
        b.AddUInts(d, 338, 3, {2});
        b.AddUInts(d, 255, 3, {2}); // old SubfileType: reduced resolution
    };
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"info"));
    tiff::TiffImageInfo info;
    ASSERT_TRUE(tiff::DescribeImage(reader, 0, info));
    ASSERT_EQ(info.colormap.size(), 12u);
    EXPECT_EQ(info.colormap[11], 11000);
    EXPECT_EQ(info.extraSamples, std::vector<uint16_t>{2});
    EXPECT_EQ(info.subfileType, tiff::kSubfileReduced);
    EXPECT_EQ(info.RowBytes(37), 19u); // 148 bits, rounded up
}

} // namespace
