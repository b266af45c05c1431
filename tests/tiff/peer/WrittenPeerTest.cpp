// Images written by libtiff in every container, layout, sample size, compression and predictor
// we read: our tags and pixels must match what was written and what libtiff reads back.
#include "OurLoader.h"

#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffRead.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

namespace {

struct Case {
    const char *mode; // libtiff's: "w", then "8" for BigTIFF, then the byte order "l" or "b"
    bool tiled;
    uint16_t spp, planar, bps, sampleFormat, compression, predictor;

    bool BigEndian() const { return std::strchr(mode, 'b') != nullptr; }
    bool BigTiff() const { return std::strchr(mode, '8') != nullptr; }
};

std::vector<Case> AllCases() {
    const std::pair<uint16_t, uint16_t> samples[] = {{1, 1}, {3, 1}, {3, 2}};
    const std::pair<uint16_t, uint16_t> formats[] = {{1, 1},  {2, 1},  {4, 1},  {8, 1},  {16, 1},
                                                     {16, 2}, {16, 3}, {32, 1}, {32, 3}, {64, 3}};
    std::vector<Case> cases;
    for (const char *mode : {"wl", "wb", "w8l", "w8b"})
        for (bool tiled : {false, true})
            for (auto [spp, planar] : samples)
                for (auto [bps, format] : formats)
                    for (uint16_t compression : {1, 5, 8, 32946, 32773})
                        for (uint16_t predictor : {1, 2, 3}) {
                            const bool takesPredictor = compression != 1 && compression != 32773;
                            if (predictor != 1 && !takesPredictor)
                                continue;
                            if ((predictor == 2 && bps < 8) || (predictor == 3 && format != 3))
                                continue;
                            cases.push_back({mode, tiled, spp, planar, bps, format, compression,
                                             predictor});
                        }
    return cases;
}

std::string CaseName(const Case &c) {
    char buf[128];
    std::snprintf(buf, sizeof buf, "%s%s_%s_%s_b%u%c_c%u_p%u", c.BigTiff() ? "Big" : "",
                  c.BigEndian() ? "BE" : "LE", c.tiled ? "tiles" : "strips",
                  c.spp == 1 ? "gray" : c.planar == 2 ? "planar3" : "chunky3", c.bps,
                  "?usf"[c.sampleFormat], c.compression, c.predictor);
    return buf;
}

// Gradients with a little noise, in machine order or bit-packed. Float samples need no real
// numbers: the predictors and codings work on their bytes.
peer::Raster MakeImage(const Case &c, uint32_t w, uint32_t h, uint32_t seed) {
    peer::Raster r;
    r.spp = c.spp;
    r.bps = c.bps;
    r.Allocate(w, h);
    uint32_t state = seed * 2654435761u;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            for (uint32_t s = 0; s < r.spp; ++s) {
                state = state * 1664525u + 1013904223u;
                uint64_t v = x * 3u + y * 5u + s * 11u + (x * y) / 7u + (state >> 28) +
                             (uint64_t{y} << 20);
                v = r.bps == 64 ? v * 0x9E3779B97F4A7C15ull : v & ((uint64_t{1} << r.bps) - 1);
                unsigned char bytes[8];
                std::memcpy(bytes, &v, 8);
                if (r.bps < 8)
                    bytes[0] = static_cast<unsigned char>(v << (8 - r.bps));
                peer::CopySample(bytes, 0, r.bytes.data(), r.SampleBit(x, y, s), r.bps);
            }
    return r;
}

// Our rules refuse these although libtiff reads them.
const char *KnownDifference(const Case &c) {
    if (c.predictor == 2 && c.bps == 64)
        return "predictor 2 is undone only on 8, 16 and 32-bit samples";
    if (c.predictor == 3 && c.bps == 16)
        return "predictor 3 is undone only on 32 and 64-bit samples";
    return nullptr;
}

void PrintTo(const Case &c, std::ostream *os) { *os << CaseName(c); }

class WrittenPeer : public ::testing::TestWithParam<Case> {};

TEST_P(WrittenPeer, MatchesWhatWasWritten) {
    const Case &c = GetParam();
    // 37 x 23 and 19 x 12, in tiles of 16 x 16 or strips of 5 rows.
    const std::vector<peer::Raster> images = {MakeImage(c, 37, 23, 1), MakeImage(c, 19, 12, 2)};
    const std::string path = peer::ScratchPath(CaseName(c) + ".tif");
    peer::WriteLayout layout{c.compression, c.predictor, c.planar, c.sampleFormat,
                             c.tiled,       16,          c.tiled ? 16u : 5u};
    std::string message;
    ASSERT_TRUE(peer::LibtiffWrite(path, c.mode, {layout}, images, message)) << message;

    tiff::CTiffReader reader;
    ASSERT_TRUE(reader.Open(peer::Wide(path)));
    EXPECT_EQ(reader.IsBigEndian(), c.BigEndian());
    EXPECT_EQ(reader.IsBigTiff(), c.BigTiff());
    ASSERT_EQ(reader.Directories().size(), images.size());
    for (unsigned d = 0; d < images.size(); ++d) {
        SCOPED_TRACE("directory " + std::to_string(d));
        peer::Raster theirs;
        ASSERT_TRUE(peer::LibtiffRead(path, d, theirs, message)) << message;
        // libtiff 4.5 reads big-endian floats it wrote with the floating point predictor back
        // byte-swapped; such files are compared with what libtiff reads from them.
        const bool writerSwapsFirst = c.BigEndian() && c.predictor == 3;
        const peer::Raster &expected = writerSwapsFirst ? theirs : images[d];
        ASSERT_TRUE(writerSwapsFirst || theirs.bytes == images[d].bytes)
            << "libtiff does not read back its image";
        tiff::TiffImageLoader loader(reader);
        ASSERT_TRUE(loader.Open(d));
        const tiff::TiffImageInfo &info = loader.Info();
        EXPECT_EQ(info.width, images[d].width);
        EXPECT_EQ(info.height, images[d].height);
        EXPECT_EQ(info.sampleFormat, c.sampleFormat);
        EXPECT_EQ(info.extraSamples.size(), c.spp - 1u);
        peer::LibtiffLayout lt;
        ASSERT_TRUE(peer::LibtiffDescribe(path, d, lt));
        EXPECT_EQ(peer::CompareChunkTables(lt, reader.Directories()[d]), "");
        peer::Raster ours;
        shr::ErrorRecord error;
        const bool ok = peer::OurRead(path, d, ours, error);
        if (const char *difference = KnownDifference(c)) {
            EXPECT_FALSE(ok) << difference;
            EXPECT_EQ(error.code, -5) << difference;
            EXPECT_EQ(error.file, L"Subsystems/TiffImage/TiffDecodeStrip") << difference;
            continue;
        }
        ASSERT_TRUE(ok) << error.code;
        EXPECT_TRUE(ours.bytes == expected.bytes);
        EXPECT_EQ(peer::CompareWindows(path, d, expected), "");
    }
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Libtiff, WrittenPeer, ::testing::ValuesIn(AllCases()),
                         [](const auto &info) { return CaseName(info.param); });

} // namespace
