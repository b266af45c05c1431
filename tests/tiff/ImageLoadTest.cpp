// Image loader: whole images, windows and row-by-row reads of synthetic images in every
// layout; bounded reading; the statuses of bad layouts.
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "support/ImageModel.h"

#include <gtest/gtest.h>

#include <cstring>

using testsupport::Bytes;
using testsupport::ImageModel;
using tiff::CTiffReader;
using tiff::TiffImageLoader;

namespace {

struct Variant {
    const char *name;
    std::function<void(ImageModel &)> set;
};

const Variant kLayouts[] = {
    {"strips", [](ImageModel &) {}},
    {"tiles",
     [](ImageModel &m) {
         m.tiled = true;
         m.chunkHeight = 16;
     }},
};
const Variant kSamples[] = {
    {"gray8", [](ImageModel &) {}},
    {"rgb16",
     [](ImageModel &m) {
         m.spp = 3;
         m.bps = 16;
     }},
    {"planar16",
     [](ImageModel &m) {
         m.spp = 2;
         m.bps = 16;
         m.planar = 2;
     }},
    {"planar1bit",
     [](ImageModel &m) {
         m.spp = 3;
         m.bps = 1;
         m.planar = 2;
     }},
    {"bits1", [](ImageModel &m) { m.bps = 1; }},
    {"bits4x2",
     [](ImageModel &m) {
         m.bps = 4;
         m.spp = 2;
     }},
    {"bits32", [](ImageModel &m) { m.bps = 32; }},
    {"bits64x2",
     [](ImageModel &m) {
         m.bps = 64;
         m.spp = 2;
     }},
};
const Variant kCodings[] = {
    {"none", [](ImageModel &) {}},
    {"packbits", [](ImageModel &m) { m.compression = 32773; }},
    {"deflate", [](ImageModel &m) { m.compression = 8; }},
    {"deflate_pred2",
     [](ImageModel &m) {
         m.compression = 8;
         if (m.bps == 8 || m.bps == 16)
             m.predictor = 2;
     }},
};

struct Case {
    std::string name;
    ImageModel model;
};

std::vector<Case> AllCases() {
    std::vector<Case> cases;
    for (bool bigEndian : {false, true})
        for (const auto &layout : kLayouts)
            for (const auto &samples : kSamples)
                for (const auto &coding : kCodings) {
                    ImageModel m;
                    m.bigEndian = bigEndian;
                    m.bigTiff = bigEndian; // both layouts, both orders
                    layout.set(m);
                    samples.set(m);
                    coding.set(m);
                    cases.push_back({std::string(bigEndian ? "BE_" : "LE_") + layout.name + "_" +
                                         samples.name + "_" + coding.name,
                                     m});
                }
    return cases;
}

class LoadTest : public ::testing::TestWithParam<Case> {};

TEST_P(LoadTest, WholeWindowsAndRowsMatchTheModel) {
    const ImageModel &m = GetParam().model;
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"model"));
    TiffImageLoader loader(reader);
    loader.SetCacheLimit(0);
    ASSERT_TRUE(loader.Open(0)) << reader.Error().code;
    EXPECT_EQ(loader.Info().width, m.width);
    EXPECT_EQ(loader.Info().samplesPerPixel, m.spp);
    EXPECT_EQ(loader.Info().IsPlanar(), m.planar == 2 && m.spp > 1);

    struct Box {
        uint32_t x, y, w, h;
    } boxes[] = {{0, 0, m.width, m.height}, {3, 2, 29, 17}, {17, 5, 1, 9}, {0, 20, 37, 1}};
    for (const Box &b : boxes) {
        const Bytes want = m.Expected(b.x, b.y, b.w, b.h);
        Bytes got(want.size(), 0xA5);
        ASSERT_TRUE(loader.ReadWindow(b.x, b.y, b.w, b.h, got.data()))
            << b.x << "," << b.y << " " << reader.Error().code;
        EXPECT_EQ(got, want) << "window " << b.x << "," << b.y << " " << b.w << "x" << b.h;
        const size_t rowBytes = static_cast<size_t>(m.OutputRowBytes(b.w));
        for (uint32_t r = 0; r < b.h; ++r) {
            Bytes row(rowBytes, 0x5A);
            ASSERT_TRUE(loader.ReadWindow(b.x, b.y + r, b.w, 1, row.data()));
            EXPECT_TRUE(std::equal(row.begin(), row.end(), want.begin() + r * rowBytes))
                << "row " << b.y + r << " of window " << b.x << "," << b.y;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Loader, LoadTest, ::testing::ValuesIn(AllCases()),
                         [](const auto &info) { return info.param.name; });

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

struct Counted {
    size_t reads = 0;
    uint64_t bytes = 0;
    CTiffReader reader;
    TiffImageLoader loader{reader};

    explicit Counted(const ImageModel &m) {
        EXPECT_TRUE(reader.Open(std::make_unique<CountingSource>(m.Build(), reads, bytes), L"m"));
        EXPECT_TRUE(loader.Open(0));
        reads = 0;
        bytes = 0;
    }
};

TEST(LoaderReads, RowByRowDecodesEachTileOnce) {
    ImageModel m;
    m.width = 100;
    m.height = 40;
    m.tiled = true;
    m.chunkHeight = 16;
    m.compression = 8;
    Counted c(m);
    c.loader.SetCacheLimit(0); // only the band across the window is kept
    Bytes row(100);
    for (uint32_t y = 0; y < 40; ++y)
        ASSERT_TRUE(c.loader.ReadWindow(10, y, 70, 1, row.data()));
    // Columns 0..4 of 7 across, three bands down: 15 tiles, each read once.
    EXPECT_EQ(c.reads, 15u);
}

TEST(LoaderReads, WholeImageReadsEachStripOnce) {
    ImageModel m;
    m.width = 50;
    m.height = 31;
    m.compression = 32773;
    Counted c(m);
    Bytes image(50 * 31);
    ASSERT_TRUE(c.loader.ReadImage(image.data()));
    EXPECT_EQ(c.reads, 11u);
    EXPECT_EQ(image, m.Expected(0, 0, 50, 31));
}

TEST(LoaderReads, WindowsReadOnlyWhatTheyTouch) {
    // One uncompressed strip of 1.2 MB: a window of ten rows reads a small part of it.
    ImageModel m;
    m.width = 2000;
    m.height = 600;
    m.chunkHeight = 600;
    Counted c(m);
    Bytes window(50 * 10);
    ASSERT_TRUE(c.loader.ReadWindow(1000, 300, 50, 10, window.data()));
    EXPECT_EQ(window, m.Expected(1000, 300, 50, 10));
    EXPECT_LE(c.bytes, 300000u);

    ImageModel t;
    t.width = 200;
    t.height = 200;
    t.tiled = true;
    t.chunkWidth = 32;
    t.chunkHeight = 32;
    t.compression = 8;
    Counted ct(t);
    Bytes tile(20 * 20);
    ASSERT_TRUE(ct.loader.ReadWindow(70, 100, 20, 20, tile.data()));
    EXPECT_EQ(tile, t.Expected(70, 100, 20, 20));
    EXPECT_EQ(ct.reads, 1u);
}

// A file whose bytes after the given head are zeros, up to a length of its own.
class ZeroTailSource : public tiff::TiffSource {
public:
    ZeroTailSource(Bytes head, uint64_t length) : head_(std::move(head)), length_(length) {}
    bool Length(uint64_t &length) override {
        length = length_;
        return true;
    }
    bool Seek(uint64_t position) override {
        pos_ = position;
        return position <= length_;
    }
    size_t Read(void *dest, size_t size) override {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(size, length_ - pos_));
        auto *out = static_cast<unsigned char *>(dest);
        for (size_t i = 0; i < n; ++i, ++pos_)
            out[i] = pos_ < head_.size() ? head_[static_cast<size_t>(pos_)] : 0;
        maxRead_ = std::max(maxRead_, n);
        return n;
    }
    size_t maxRead_ = 0;

private:
    Bytes head_;
    uint64_t length_;
    uint64_t pos_ = 0;
};

TEST(LoaderReads, UncompressedStripLargerThanAnyBlock) {
    // One 2.5 GB uncompressed strip: read a few rows at a time, never as a whole.
    const uint64_t side = 50000;
    testsupport::TiffWriter b(false, false);
    auto &d = b.AddDirectory();
    b.AddUInts(d, 256, 4, {side});
    b.AddUInts(d, 257, 4, {side});
    b.AddUInts(d, 258, 3, {8});
    b.AddUInts(d, 273, 4, {4096});
    b.AddUInts(d, 279, 4, {side * side});
    Bytes head = b.Build();
    auto source = std::make_unique<ZeroTailSource>(head, 4096 + side * side);
    ZeroTailSource *raw = source.get();
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(std::move(source), L"big"));
    TiffImageLoader loader(reader);
    ASSERT_TRUE(loader.Open(0)) << reader.Error().code;
    Bytes window(100 * 100, 0xA5);
    ASSERT_TRUE(loader.ReadWindow(30000, 40000, 100, 100, window.data()));
    EXPECT_EQ(window, Bytes(100 * 100, 0));
    EXPECT_LE(raw->maxRead_, 300000u);
}

TEST(Loader, SparseChunksReadAsZeros) {
    ImageModel m;
    m.tiled = true;
    m.chunkHeight = 16;
    m.editChunks = [](std::vector<Bytes> &chunks) { chunks[1].clear(); };
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"sparse"));
    TiffImageLoader loader(reader);
    ASSERT_TRUE(loader.Open(0));
    Bytes got(m.width * m.height, 0xA5);
    ASSERT_TRUE(loader.ReadImage(got.data()));
    Bytes want = m.Expected(0, 0, m.width, m.height);
    for (uint32_t y = 0; y < 16; ++y)
        std::fill_n(want.begin() + y * m.width + 16, 16, 0);
    EXPECT_EQ(got, want);
}

TEST(Loader, ReversedFillOrderOfUncompressedBits) {
    ImageModel m;
    m.bps = 1;
    m.editChunks = [](std::vector<Bytes> &chunks) {
        for (auto &chunk : chunks)
            for (auto &byte : chunk) {
                unsigned char r = 0;
                for (int b = 0; b < 8; ++b)
                    r |= ((byte >> b) & 1) << (7 - b);
                byte = r;
            }
    };
    m.edit = [](testsupport::TiffWriter &b, testsupport::Directory &d) {
        b.AddUInts(d, 266, 3, {2});
    };
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"fill"));
    TiffImageLoader loader(reader);
    ASSERT_TRUE(loader.Open(0));
    Bytes got(5 * m.height);
    ASSERT_TRUE(loader.ReadImage(got.data()));
    EXPECT_EQ(got, m.Expected(0, 0, m.width, m.height));
}

TEST(Loader, DescribesColormapExtraSamplesAndSubfiles) {
    ImageModel m;
    m.bps = 2;
    m.spp = 2;
    m.edit = [](testsupport::TiffWriter &b, testsupport::Directory &d) {
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
    EXPECT_EQ(info.chunkHeight, 3u);
    EXPECT_EQ(info.RowBytes(37), 19u);
    EXPECT_EQ(info.ChunksDown(), 7u);
}

} // namespace
